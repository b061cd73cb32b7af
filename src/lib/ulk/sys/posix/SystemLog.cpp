#include "ulk/sys/SystemLog.h"

#include <syslog.h>

#include <cstring>

namespace ulk::sys {

void SystemLog::open(char const* ident) {
    static char kept_ident[256]; // the daemon's client keeps the address
    kept_ident[strnlen(std::strncpy(kept_ident, ident, sizeof(kept_ident) - 1),
                       sizeof(kept_ident) - 1)] = '\0';
    openlog(kept_ident, LOG_PID | LOG_NDELAY, LOG_USER);
    setlogmask(255);
}

void SystemLog::write(int priority, char const* name, char const* text, char const* source,
                      char const* function, long line) {
    syslog(priority, "%s %s %s %s %ld", name, text, source, function, line);
}

} // namespace ulk::sys
