#include "host/Log.h"

#include "host/Error.h"
#include "ulk/mem/LockFreeRingFifo.h"
#include "ulk/sys/CritSec.h"
#include "ulk/udbg/LogMgr.h"
#include "ulk/util/LogMgr.h"

#include <cstdio>

namespace ulk::host {

namespace {

using udbg::Debugger;
using Record = udbg::LogMgr::Record;

// Complaints of cached records on their way to standard error.
class Held {
public:
    void add(Record const& rec) {
        sys::CritSec const lock(_mutex, true);
        long len = 0;
        util::LogLine* const slot = _ring.use_data_block_write(len);
        if (len > 0) {
            slot->set_log(rec.level, 0, rec.text, rec.name, rec.line);
            _ring.advance_write();
        } else {
            ++_nbr_lost;
        }
    }

    void print(Record const* last_ptr) {
        sys::CritSec const lock(_mutex, true);
        for (; !_ring.is_empty(); _ring.advance_read()) {
            long len = 0;
            util::LogLine const& line = *_ring.use_data_block_read(len);
            print_line(line.get_scope(), static_cast<int>(line.get_order()), line.get_msg());
        }
        if (_nbr_lost > 0) {
            std::fprintf(stderr, "%ld more lines were lost\n", _nbr_lost);
            _nbr_lost = 0;
        }
        if (last_ptr != nullptr) {
            print_line(last_ptr->name, last_ptr->level, last_ptr->text);
        }
    }

private:
    static void print_line(char const* name, int level, char const* text) {
        char const* const level_txt = Debugger::get_level_txt(static_cast<Debugger::Level>(level));
        std::fprintf(stderr, "%s: %s: %s\n", name, level_txt, text);
    }

    sys::Mutex _mutex;
    mem::LockFreeRingFifo<util::LogLine> _ring{64};
    long _nbr_lost = 0;
};

Held held;

bool is_complaint(int level) {
    return level >= Debugger::Level_PANIC && level <= Debugger::Level_WARNING;
}

} // namespace

int Log::receive(int cmd, void* data) {
    if (cmd != udbg::LogMgr::CMD_WRITE) {
        return -1;
    }
    try {
        auto const& rec = *static_cast<Record const*>(data);
        udbg::LogMgr::execute_command(cmd, data);
        if (rec.cached == 0) {
            held.print(is_complaint(rec.level) ? &rec : nullptr);
        } else if (is_complaint(rec.level)) {
            held.add(rec);
        }
    } catch (...) {
        // A log has nobody to complain to.
    }
    return 0;
}

void Log::keep_all(std::string const& path) {
    if (util::LogMgr::use_instance().open_file(path.c_str()) != 0) {
        throw Error(Error::Kind_IO, path + ": the log file cannot be written");
    }
}

void Log::flush() {
    util::LogMgr::use_instance().flush();
    held.print(nullptr);
}

} // namespace ulk::host
