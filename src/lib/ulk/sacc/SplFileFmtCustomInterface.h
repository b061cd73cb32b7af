#pragma once

namespace ulk::sacc {

// What a client gets that wants more of a format than SplFileFmtInterface offers: it asks at run
// time whether the object is of a class that it knows.
class SplFileFmtCustomInterface {
public:
    virtual ~SplFileFmtCustomInterface() = default;
};

} // namespace ulk::sacc
