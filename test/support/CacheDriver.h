#pragma once

#include "CacheModel.h"
#include "FileFault.h"
#include "LogCatcher.h"
#include "SplCacheProbe.h"
#include "TempDir.h"

#include "ulk/sacc/SplCacheIteratorRead.h"
#include "ulk/sacc/SplCacheIteratorWrite.h"
#include "ulk/sacc/SplCacheStat.h"
#include "ulk/sacc/SplFileExtData.h"
#include "ulk/sacc/SplFileFmtDesc.h"
#include "ulk/sacc/SplFileMgr.h"
#include "ulk/sys/CritSec.h"

#include <cerrno>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace test {

// Does the same to a cache, over WAV files on disk, and to its model, and compares all that can be
// seen of both after each step: results, walks, floats, cells, lists, index lists, lengths,
// statistics and log lines. What is done comes from the dice.
class CacheDriver {
public:
    // A number from 0 to its argument - 1.
    using Dice = std::function<unsigned long(unsigned long)>;

    // Over files of these lengths, in frames, of 1 to nbr_chn_max channels.
    explicit CacheDriver(Dice dice,
                         std::vector<long> const& len_list = {0, 1, 59, 60, 61, 120, 333, 1000},
                         int nbr_chn_max = 3)
        : _dice(std::move(dice)) {
        for (long const len : len_list) {
            for (int nbr_chn = 1; nbr_chn <= nbr_chn_max; ++nbr_chn) {
                make_file(nbr_chn, len);
            }
        }
        set_memory();
        _log.take(); // what the first steps of a process tell
    }

    // Empty, or where the two differ.
    std::string run_step() {
        _error.clear();
        choose();
        compare();
        return _error.empty() ? _error : _what + ": " + _error;
    }

    // Closes what is open, so that the next cache starts anew.
    std::string finish() {
        _error.clear();
        while (!_model.files.empty() && _error.empty()) {
            close(_model.files.begin()->first);
            compare();
        }
        return _error.empty() ? _error : _what + ": " + _error;
    }

    // How often a run came to a log line that holds the text.
    long count_lines(std::string const& txt) const {
        return std::count_if(_line_list.begin(), _line_list.end(),
                             [&](auto const& line) { return line.find(txt) != line.npos; });
    }
    long get_nbr_floats_read() const { return _nbr_floats_read; } // from cells, and compared

private:
    using Probe = ulk::sacc::SplCacheProbe;
    using Floats = std::vector<float>;

    struct Disk {
        int nbr_chn;
        Floats floats; // all of the file
    };

    static constexpr unsigned long nbr_open_max = 12;
    static constexpr std::size_t nbr_disk_max = 64;

    long roll(long nbr) { return static_cast<long>(_dice(static_cast<unsigned long>(nbr))); }

    void choose() {
        long const what = roll(100);
        if (what < 26) {
            prefetch();
        } else if (what < 50) {
            get();
        } else if (what < 62) {
            push();
        } else if (what < 78) {
            run_slice();
        } else if (what < 82) {
            open();
        } else if (what < 85) {
            close(choose_id());
        } else if (what < 88) {
            lock();
        } else if (what < 91) {
            unlock();
        } else if (what < 95) {
            invalidate();
        } else if (what < 98) {
            query();
        } else {
            grow();
        }
    }

    // A file of floats where each tells its place.
    void make_file(int nbr_chn, long len) {
        Disk disk{nbr_chn, {}};
        for (long n = 0; n < len * nbr_chn; ++n) {
            disk.floats.push_back(get_next_float());
        }
        std::string const path =
            _dir.make_name("f" + std::to_string(nbr_chn) + "_" + std::to_string(len));
        ulk::sacc::SplFileHnd hnd;
        expect(hnd.create_new(_mgr, path.c_str(), make_desc(nbr_chn), 0), 0, "making a file");
        expect(hnd.write_block(disk.floats.data(), 0, len), 0, "writing a file");
        expect(hnd.close(), 0, "closing a file");
        _disk_map[path] = disk;
    }

    static ulk::sacc::SplFileFmtDesc make_desc(int nbr_chn) {
        ulk::sacc::SplFileFmtDesc desc;
        desc.set_data(ulk::sacc::SplFileFmt_WAV, ulk::sacc::SplFileBitFmt_F32, 44100, nbr_chn);
        return desc;
    }

    float get_next_float() { return static_cast<float>(++_nbr_floats % 16000000); }

    // Mostly one of an open file, of that kind if there is one.
    long choose_id(int rec_flag = -1) {
        std::vector<long> id_list;
        for (auto const& [id, file] : _model.files) {
            if (rec_flag < 0 || file.rec == (rec_flag != 0)) {
                id_list.push_back(id);
            }
        }
        if (id_list.empty() || roll(40) == 0) {
            return _model.last_id + 1 + roll(3);
        }
        return id_list[static_cast<std::size_t>(roll(static_cast<long>(id_list.size())))];
    }

    // Within the file, or now and then past its end.
    void choose_range(long id, long& pos, long& len) {
        long const file_len = _model.files.contains(id) ? _model.files[id].len : 100;
        pos = roll(file_len + 1);
        len = roll(4) == 0 ? roll(file_len - pos + 1) : std::min(roll(130), file_len - pos);
        len += roll(50) == 0 ? file_len : 0;
    }

    void say(std::string const& name, long id, long pos = 0, long len = 0) {
        _what =
            name + " " + std::to_string(id) + " " + std::to_string(pos) + " " + std::to_string(len);
    }

    void expect(long got, long wanted, char const* what) {
        if (got != wanted && _error.empty()) {
            _error =
                std::string(what) + ": " + std::to_string(got) + ", not " + std::to_string(wanted);
        }
    }

    void set_memory() {
        long const normal_len = 60 * roll(14) + roll(60);
        long const rec_len = 60 * roll(7) + roll(60);
        say("set_memory", normal_len, rec_len);
        expect(_cache.set_memory(normal_len, rec_len, 60), 0, "result");
        _model.set_memory(normal_len, rec_len, 60);
    }

    void grow() {
        if (_model.files.empty() || _model.cells.size() > 40) {
            while (!_model.files.empty()) {
                close(_model.files.begin()->first);
            }
            return set_memory();
        }
        long const normal_len = roll(150);
        long const rec_len = roll(100);
        say("add_memory", normal_len, rec_len);
        expect(_cache.add_memory(normal_len, rec_len), 0, "result");
        _model.add_memory(normal_len, rec_len);
    }

    void open() {
        if (_model.files.size() >= nbr_open_max) {
            return close(choose_id());
        }
        long id = -77;
        if (roll(3) == 0 && _disk_map.size() < nbr_disk_max) {
            std::string const path = _dir.make_name("rec" + std::to_string(_model.last_id));
            int const nbr_chn = static_cast<int>(1 + roll(3));
            say("create_file_new " + path, nbr_chn);
            expect(_cache.create_file_new(id, path.c_str(), make_desc(nbr_chn)), 0, "result");
            expect(id, _model.open(path, true, nbr_chn, 0), "id");
            _disk_map[path] = {nbr_chn, {}};
            return;
        }
        auto it = _disk_map.begin();
        std::advance(it, roll(static_cast<long>(_disk_map.size())));
        std::string const& path = it->first;
        say("open_file " + path, 0);
        if (is_recording(path)) {
            expect(_cache.open_file(id, path.c_str(), false), -14987, "result");
            _model.log.push_back("E open(): file \"" + path +
                                 "\" is already exclusively opened (currently in creation).");
            return expect(id, -77, "id after failure");
        }
        int const nbr_chn = it->second.nbr_chn;
        expect(_cache.open_file(id, path.c_str(), roll(2) == 0), 0, "result");
        expect(id,
               _model.open(path, false, nbr_chn,
                           static_cast<long>(it->second.floats.size()) / nbr_chn),
               "id");
    }

    bool is_recording(std::string const& path) const {
        return std::any_of(_model.files.begin(), _model.files.end(), [&](auto const& entry) {
            return entry.second.rec && entry.second.path == path;
        });
    }

    void close(long id) {
        say("close_file", id);
        expect(_cache.close_file(id), _model.close(id), "result");
    }

    // What a pass does, in the way that passes do it.
    void prefetch() {
        long const id = choose_id(0);
        long pos = 0;
        long len = 0;
        choose_range(id, pos, len);
        if (_model.files.contains(id) && _model.files[id].rec) {
            return;
        }
        say("prefetch_data", id, pos, len);
        prefetch_both(id, pos, len);
    }

    void prefetch_both(long id, long pos, long len) {
        expect(prefetch_cache(id, pos, len), _model.prefetch(id, pos, len), "result");
    }

    int prefetch_cache(long id, long pos, long len) {
        ulk::sys::CritSec const pass(_mutex_rt);
        return _cache.prefetch_data(id, pos, len);
    }

    void get() {
        long const id = choose_id(0);
        long pos = 0;
        long len = 0;
        choose_range(id, pos, len);
        if (_model.files.contains(id) && _model.files[id].rec) {
            return;
        }
        say("get_data", id, pos, len);
        CacheModel::Spans wanted;
        int const wanted_ret = _model.get(id, pos, len, wanted);
        ulk::sys::CritSec const pass(_mutex_rt);
        ulk::sacc::SplCacheIteratorRead it;
        expect(_cache.get_data(id, pos, len, it), wanted_ret, "result");
        expect(it.get_frame_pos(), pos, "frame position");
        expect(it.get_frame_len(), len, "frame length");
        std::size_t nbr = 0;
        for (; it.is_rem_elt() && nbr < wanted.size(); it.iterate()) {
            CacheModel::Span const& span = wanted[nbr++];
            check_span(it, span);
            check_floats(it.use_cell().use_data(), span, _model.files[id]);
        }
        expect(it.is_rem_elt(), false, "further cells");
        expect(static_cast<long>(nbr), static_cast<long>(wanted.size()), "number of cells");
    }

    template <class ITERATOR>
    void check_span(ITERATOR const& it, CacheModel::Span const& span) {
        auto const& cells = Probe::use_cells(_cache);
        expect(it.get_data_pos_file(), span.pos_file, "position in the file");
        expect(it.get_data_pos_cell(), span.pos_cell, "position in the cell");
        expect(it.get_data_len(), span.len, "length");
        expect(it.use_cell().use_data() == cells[static_cast<std::size_t>(span.cell)]->use_data(),
               true, "memory of the cell");
    }

    void check_floats(float const* data, CacheModel::Span const& span,
                      CacheModel::File const& file) {
        float const* const wanted =
            _disk_map[file.path].floats.data() + span.pos_file * file.nbr_chn;
        bool const same_flag = std::equal(wanted, wanted + span.len * file.nbr_chn,
                                          data + span.pos_cell * file.nbr_chn);
        expect(same_flag, true, "floats");
        _nbr_floats_read += span.len * file.nbr_chn;
    }

    void push() {
        long const id = choose_id(1);
        if (_model.files.contains(id) && (!_model.files[id].rec || _model.files[id].len > 9000)) {
            return;
        }
        long const len = roll(3) == 0 ? roll(10) : roll(150);
        say("push_data", id, len);
        CacheModel::Spans wanted;
        long const pos = _model.files.contains(id) ? _model.files[id].len : -1;
        int const wanted_ret = _model.push(id, len, wanted);
        ulk::sys::CritSec const pass(_mutex_rt);
        ulk::sacc::SplCacheIteratorWrite it;
        expect(_cache.push_data(id, len, it), wanted_ret, "result");
        expect(it.get_frame_pos(), pos, "frame position");
        expect(it.get_frame_len(), wanted_ret == 0 ? len : -1, "frame length");
        std::size_t nbr = 0;
        for (; it.is_rem_elt() && nbr < wanted.size(); it.iterate()) {
            CacheModel::Span const& span = wanted[nbr++];
            check_span(it, span);
            record(it.use_cell().use_data(), span, _model.files[id]);
        }
        expect(it.is_rem_elt(), false, "further cells");
        expect(static_cast<long>(nbr), static_cast<long>(wanted.size()), "number of cells");
    }

    void record(float* data, CacheModel::Span const& span, CacheModel::File const& file) {
        Floats& floats = _disk_map[file.path].floats;
        expect(static_cast<long>(floats.size()), span.pos_file * file.nbr_chn, "end of the file");
        for (long n = 0; n < span.len * file.nbr_chn; ++n) {
            floats.push_back(get_next_float());
            data[span.pos_cell * file.nbr_chn + n] = floats.back();
        }
    }

    // What happens while a cell is read.
    struct ReadEvent {
        bool fail_flag = false;
        long id = -1; // prefetch of a pass that comes in between, -1 for none
        long pos = 0;
        long len = 0;
    };

    // Stands before the reads, where no mutex but those of the background side is held.
    class ReadFilter : public FileFault::SysCall::Filter {
    public:
        explicit ReadFilter(CacheDriver& driver)
            : _driver(driver)
            , _prev_ptr(FileFault::SysCall::set_filter(this)) {}
        ReadFilter(ReadFilter const&) = delete;
        ReadFilter& operator=(ReadFilter const&) = delete;
        ~ReadFilter() override { FileFault::SysCall::set_filter(_prev_ptr); }

    protected:
        long do_check(FileFault::SysCall::Op op, long) override {
            return op == FileFault::SysCall::Op_READ && _driver.step_in() ? -EIO : 0;
        }

    private:
        CacheDriver& _driver;
        FileFault::SysCall::Filter* _prev_ptr;
    };

    // Whether the read that is about to be made shall fail.
    bool step_in() {
        long index = -1;
        auto const& cells = Probe::use_cells(_cache);
        for (std::size_t c = 0; c < cells.size(); ++c) {
            if (cells[c]->get_status() == ulk::sacc::SplCacheCell::Status_TRANSFER &&
                cells[c]->get_type() != ulk::sacc::SplCacheCell::Type_REC && !_stuck_map[c]) {
                index = static_cast<long>(c);
            }
        }
        if (index < 0 || roll(2) == 0) {
            return false;
        }
        ReadEvent& event = _event_map[index];
        if (_failing_flag) {
            event.fail_flag = true;
            _stuck_map[static_cast<std::size_t>(index)] = true;
        } else if (event.id < 0) {
            event.id = choose_id(0);
            choose_range(event.id, event.pos, event.len);
            if (_model.files.contains(event.id) && _model.files[event.id].rec) {
                event.id = -1;
            } else {
                prefetch_cache(event.id, event.pos, event.len);
            }
        }
        return event.fail_flag;
    }

    void run_slice() {
        say("do_run_slice", 0);
        _event_map.clear();
        _stuck_map.clear();
        for (auto const& cell : _model.cells) {
            _stuck_map.push_back(cell.status == CacheModel::TRANSFER);
        }
        long const mode = roll(3);
        _failing_flag = mode == 1;
        if (mode == 0) {
            expect(_cache.do_run_slice(), false, "budget");
        } else {
            ReadFilter const filter(*this);
            expect(_cache.do_run_slice(), false, "budget");
        }
        _model.run_slice([this](long index) {
            ReadEvent const event = _event_map[index];
            if (event.id >= 0) {
                _model.prefetch(event.id, event.pos, event.len);
            }
            return !event.fail_flag;
        });
    }

    void lock() {
        long const id = choose_id();
        long pos = 0;
        long len = 0;
        choose_range(id, pos, len);
        say("lock_data", id, pos, len);
        expect(_cache.lock_data(id, pos, len), _model.lock(id, pos, len), "result");
    }

    void unlock() {
        long const id = choose_id();
        say("unlock_data", id);
        expect(_cache.unlock_data(id), _model.unlock(id), "result");
    }

    void invalidate() {
        long const id = choose_id();
        long pos = 0;
        long len = 0;
        choose_range(id, pos, len);
        say("invalidate_data", id, pos, len);
        expect(_cache.invalidate_data(id, pos, len), _model.invalidate(id, pos, len), "result");
    }

    void query() {
        long const id = choose_id();
        bool const there_flag = _model.files.contains(id);
        say("queries", id);
        ulk::archi::Int64 len = -77;
        int nbr_chn = -77;
        double freq = -77;
        for (int const ret : {_cache.get_length(id, len), _cache.get_nbr_chn(id, nbr_chn),
                              _cache.get_sample_freq(id, freq)}) {
            expect(ret, there_flag ? 0 : CacheModel::ERR_ID, "result");
        }
        expect(len, there_flag ? _model.files[id].len : -77, "length");
        expect(nbr_chn, there_flag ? _model.files[id].nbr_chn : -77, "channels");
        expect(static_cast<long>(freq), there_flag ? 44100 : -77, "frequency");
        expect(_cache.is_file_existing(id), there_flag, "is_file_existing");
        if (there_flag && _model.files[id].rec) {
            expect(_cache.validate_new_data(id), 0, "validate_new_data");
        }
        if (!there_flag) {
            for (char const* const name : {"get_length", "get_nbr_chn", "get_sample_freq"}) {
                _model.say_unknown(name, id);
            }
        }
    }

    void compare() {
        compare_cells();
        compare_list(Probe::use_lru(_cache), _model.lru, "LRU list");
        compare_list(Probe::use_rec_free(_cache), _model.rec_free, "free recording cells");
        compare_list(Probe::use_rec_used(_cache), _model.rec_used, "used recording cells");
        expect(Probe::check_cell_list_rec_used(_cache), true, "check of used recording cells");
        compare_files();
        compare_log();
    }

    void compare_cells() {
        ulk::sacc::SplCacheStat wanted;
        auto const& cells = Probe::use_cells(_cache);
        expect(static_cast<long>(cells.size()), static_cast<long>(_model.cells.size()), "cells");
        for (std::size_t c = 0; c < cells.size() && _error.empty(); ++c) {
            CacheModel::Cell const got{static_cast<CacheModel::Type>(cells[c]->get_type()),
                                       static_cast<CacheModel::Status>(cells[c]->get_status()),
                                       cells[c]->get_file_id(),
                                       cells[c]->get_block_index(),
                                       cells[c]->get_content_len(),
                                       cells[c]->has_been_read()};
            if (got != _model.cells[c]) {
                _error = "cell " + std::to_string(c) + ": " + show(got) + ", not " +
                         show(_model.cells[c]);
            }
        }
        compare_statistics();
    }

    static std::string show(CacheModel::Cell const& cell) {
        return "type " + std::to_string(cell.type) + " status " + std::to_string(cell.status) +
               " file " + std::to_string(cell.file) + " block " + std::to_string(cell.block) +
               " content " + std::to_string(cell.content) + " read " + std::to_string(cell.read);
    }

    void compare_statistics() {
        long nbr[3][4] = {};
        long nbr_read[3] = {};
        for (auto const& cell : _model.cells) {
            ++nbr[cell.type][cell.status];
            nbr_read[cell.type] += cell.read;
        }
        ulk::sacc::SplCacheStat stat;
        _cache.collect_statistics(stat);
        for (int t = 0; t < 3; ++t) {
            auto const type = static_cast<ulk::sacc::SplCacheCell::Type>(t);
            expect(stat.get_nbr_cells_read(type), nbr_read[t], "statistics of cells read");
            for (int s = 0; s < 4; ++s) {
                auto const status = static_cast<ulk::sacc::SplCacheCell::Status>(s);
                expect(stat.get_nbr_cells(type, status), nbr[t][s], "statistics");
            }
        }
    }

    void compare_list(ulk::sacc::SplCacheCellList const& list, std::vector<long> const& wanted,
                      char const* what) {
        if (Probe::list_cells(list, Probe::use_cells(_cache)) != wanted && _error.empty()) {
            _error = what;
        }
    }

    void compare_files() {
        std::vector<long> wanted;
        for (auto const& [id, file] : _model.files) {
            wanted.push_back(id);
            auto const* const desc_ptr = Probe::find_file(_cache, id);
            if (desc_ptr == nullptr) {
                return expect(0, id, "file in the table");
            }
            expect(desc_ptr->get_length(), file.len, "length of a file");
            expect(desc_ptr->use_cell_index_list() == file.index_list, true, "index list");
        }
        std::vector<long> got{1, 2, 3};
        _cache.list_open_files(got);
        expect(got == wanted, true, "list of files");
    }

    // But for what the layers below tell of failed reads in their own words.
    void compare_log() {
        std::vector<std::string> got = _log.take();
        std::erase_if(got, [](std::string const& line) { return line.starts_with("E ::fread"); });
        for (std::size_t n = 0; n < std::max(got.size(), _model.log.size()); ++n) {
            std::string const got_line = n < got.size() ? got[n] : "no line";
            std::string const wanted_line = n < _model.log.size() ? _model.log[n] : "no line";
            if (got_line != wanted_line && _error.empty()) {
                _error = "log: " + got_line + ", not " + wanted_line;
            }
        }
        _line_list.insert(_line_list.end(), got.begin(), got.end());
        _model.log.clear();
    }

    Dice _dice;
    TempDir _dir;
    LogCatcher _log;
    ulk::sys::Mutex _mutex_mgr;
    ulk::sys::Mutex _mutex_rt;
    ulk::sys::Mutex _mutex_bkg;
    ulk::sacc::SplFileMgr _mgr{_mutex_mgr};
    ulk::sacc::SplCache _cache{_mutex_rt, _mutex_bkg, _mgr};
    CacheModel _model;
    std::map<std::string, Disk> _disk_map; // by path
    std::map<long, ReadEvent> _event_map;  // of a slice, by cell
    std::vector<bool> _stuck_map;          // cells in transfer whose read is over
    bool _failing_flag = false;
    long _nbr_floats = 0;
    long _nbr_floats_read = 0;
    std::vector<std::string> _line_list;
    std::string _what;
    std::string _error;
};

} // namespace test
