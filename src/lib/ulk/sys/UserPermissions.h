#pragma once

namespace ulk::sys {

// For as long as it lives, what the process makes in the file system has the permissions that the
// user's settings gave when the program started. (sys::File sets others, for ever.) For the whole
// process; not for several threads at a time.
class UserPermissions {
public:
    UserPermissions();
    ~UserPermissions();

    UserPermissions(UserPermissions const&) = delete;
    UserPermissions& operator=(UserPermissions const&) = delete;

private:
    unsigned _former;
};

} // namespace ulk::sys
