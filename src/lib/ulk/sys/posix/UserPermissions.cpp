#include "ulk/sys/UserPermissions.h"

#include <sys/stat.h>

namespace ulk::sys {

namespace {

// It can only be read by setting it.
mode_t read_umask() {
    mode_t const mask = ::umask(022);
    ::umask(mask);
    return mask;
}

mode_t const start_umask = read_umask();

} // namespace

UserPermissions::UserPermissions()
    : _former(::umask(start_umask)) {}

UserPermissions::~UserPermissions() {
    ::umask(_former);
}

} // namespace ulk::sys
