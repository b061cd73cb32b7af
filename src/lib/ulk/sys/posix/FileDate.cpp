#include "ulk/sys/posix/FileDate.h"

#include "ulk/sys/MacTimeFnc.h"
#include "ulk/sys/UTCDateTime.h"
#include "ulk/sys/UtcTime.h"
#include "ulk/sys/posix/SysCall.h"

#include <algorithm>
#include <cerrno>
#include <charconv>

namespace ulk::sys::posix {

namespace {

// The ticks of the date, in decimal digits.
constexpr char attribute_name[] = "user.tessitone.creation_date";
constexpr long max_attribute_len = 20;

bool is_absence(int err) {
    return err == ENODATA || err == ENOTSUP || err == ERANGE || err == EACCES;
}

// The date that was set, invalid if none was.
int read_attribute(UtcTime& date, int fd) {
    date = UtcTime();
    char txt[max_attribute_len];
    long const len = SysCall::get_attribute(fd, attribute_name, txt, max_attribute_len);
    if (len < 0) {
        return is_absence(errno) ? 0 : errno;
    }
    archi::Int64 ticks = 0;
    auto const [end_ptr, err] = std::from_chars(txt, txt + len, ticks);
    if (err == std::errc() && end_ptr == txt + len) {
        date.set(ticks);
    }
    return 0;
}

UtcTime conv(TimeStamp const& stamp) {
    UtcTime date;
    UTCDateTime const date_time = {stamp.sec, static_cast<archi::Int32>(stamp.nsec)};
    MacTimeFnc::UTCDateTime_to_UtcTime(date, date_time);
    return date;
}

// False for what is no date, which the conversion tells in the log.
bool conv(UTCDateTime& stamp, UtcTime const& date) {
    MacTimeFnc::UtcTime_to_UTCDateTime(stamp, date);
    return date.is_valid();
}

} // namespace

int FileDate::get_creation(UtcTime& date, int fd) {
    UtcTime set_date;
    int const err = read_attribute(set_date, fd);
    if (err != 0) {
        return err;
    }
    if (set_date.is_valid()) {
        date = set_date;
        return 0;
    }
    FileStat info;
    if (SysCall::stat(fd, info) != 0) {
        return errno;
    }
    date = conv(info.birth_flag ? info.birth : std::min(info.modification, info.change));
    return 0;
}

int FileDate::set_creation(int fd, UtcTime const& date) {
    UTCDateTime stamp;
    if (!conv(stamp, date)) {
        return EINVAL;
    }
    char txt[max_attribute_len];
    auto const result = std::to_chars(txt, txt + max_attribute_len, date.get());
    return SysCall::set_attribute(fd, attribute_name, txt, result.ptr - txt) == 0 ? 0 : errno;
}

int FileDate::get_modification(UtcTime& date, int fd) {
    FileStat info;
    if (SysCall::stat(fd, info) != 0) {
        return errno;
    }
    date = conv(info.modification);
    return 0;
}

int FileDate::set_modification(int fd, UtcTime const& date) {
    UTCDateTime stamp;
    if (!conv(stamp, date)) {
        return EINVAL;
    }
    TimeStamp const ts = {stamp.sec, static_cast<archi::UInt32>(stamp.nsec)};
    return SysCall::set_modification_date(fd, ts) == 0 ? 0 : errno;
}

} // namespace ulk::sys::posix
