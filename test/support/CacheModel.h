#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace test {

// What the sample cache does, said as plainly as it goes: lists are vectors, a lookup is a search,
// and the floats are left to the caller. Log lines come out as "E text" and "W text".
class CacheModel {
public:
    enum Type { NORMAL, LOCKED, REC };
    enum Status { FREE, REQUESTED, TRANSFER, FULL };

    struct Cell {
        Type type = NORMAL;
        Status status = FREE;
        long file = 0;
        long block = -1;
        long content = 0;
        bool read = false;

        bool operator==(Cell const&) const = default;
    };
    struct File {
        std::string path;
        bool rec = false;
        int nbr_chn = 0;
        long len = 0;
        long block_len = 0;
        std::vector<long> index_list{}; // of a recording, one element
    };
    // What an iterator tells for one cell.
    struct Span {
        long pos_file = 0;
        long pos_cell = 0;
        long len = 0;
        long cell = 0;

        bool operator==(Span const&) const = default;
    };
    using Spans = std::vector<Span>;
    // Called while the cell of that index is read; false: the read fails.
    using ReadFnc = std::function<bool(long)>;

    static constexpr int ERR_ID = -14999;
    static constexpr int ERR_RANGE = -14998;
    static constexpr int ERR_FIXED = -14997;

    void set_memory(long normal_len, long rec_len, long new_cell_len) {
        cells.clear();
        lru.clear();
        rec_free.clear();
        rec_used.clear();
        cell_len = new_cell_len;
        add_memory(normal_len, rec_len);
    }

    void add_memory(long normal_len, long rec_len) {
        long const nbr = (normal_len + rec_len) / cell_len;
        for (long n = 0; n < nbr; ++n) {
            Cell cell;
            cell.type = n < rec_len / cell_len ? REC : NORMAL;
            long const index = static_cast<long>(cells.size());
            cells.push_back(cell);
            if (cell.type == REC) {
                rec_free.push_back(index);
            } else {
                lru.insert(lru.begin(), index);
            }
        }
    }

    long open(std::string const& path, bool rec, int nbr_chn, long len) {
        File file{path, rec, nbr_chn, len, cell_len / nbr_chn};
        long const nbr_blocks = rec ? 1 : (len + file.block_len - 1) / file.block_len;
        file.index_list.assign(static_cast<std::size_t>(nbr_blocks), -1);
        files[++last_id] = file;
        return last_id;
    }

    int prefetch(long id, long pos, long len) {
        if (!files.contains(id)) {
            return say_unknown("prefetch_data", id);
        }
        File& file = files[id];
        if (pos + len > file.len) {
            say("E prefetch_data(): End position " + std::to_string(pos + len) +
                " is out file (id " + std::to_string(id) + ", len " + std::to_string(file.len) +
                ")");
            return ERR_RANGE;
        }
        bool all = true;
        for (long const block : list_blocks(file, pos, len)) {
            long const index = file.index_list[at(block)];
            if (index >= 0) {
                freshen(index);
            } else if (lru.empty()) {
                all = false;
            } else {
                long const victim = lru.front();
                freshen(victim);
                take(victim, id, block, NORMAL);
            }
        }
        if (!all) {
            say("W prefetch_data(): Not enough available cell to prefetch all data for file \"" +
                file.path + "\"");
        }
        return 0;
    }

    int get(long id, long pos, long len, Spans& spans) {
        if (!files.contains(id)) {
            return say_unknown("get_data", id);
        }
        File const& file = files[id];
        for (long const block : list_blocks(file, pos, len)) {
            if (long const index = file.index_list[at(block)]; index >= 0) {
                cells[at(index)].read = true;
                freshen(index);
            }
        }
        for (long const block : list_blocks(file, pos, len)) {
            long const index = file.index_list[at(block)];
            if (index >= 0 && cells[at(index)].status == FULL) {
                spans.push_back(make_span(file, index, block, pos, len));
            }
        }
        return 0;
    }

    // Walked to its end.
    int push(long id, long len, Spans& spans) {
        if (!files.contains(id)) {
            return say_unknown("push_data", id);
        }
        File& file = files[id];
        long const pos = file.len;
        long const end = pos + len;
        long const last = (end - 1) / file.block_len;
        for (long block = pos / file.block_len; block <= last; ++block) {
            long& index = file.index_list[0];
            if (index < 0) {
                if (rec_free.empty()) {
                    say("E update_or_reserve_rec_cell(): Not enough free memory.");
                    return 0;
                }
                index = rec_free.front();
                rec_free.erase(rec_free.begin());
                rec_used.push_back(index);
                cells[at(index)] = {REC, REQUESTED, id, block, 0, false};
            }
            Cell& cell = cells[at(index)];
            cell.content = std::min(end - block * file.block_len, file.block_len);
            spans.push_back(make_span(file, index, block, pos, len));
            file.len = block * file.block_len + cell.content;
            if (cell.content == file.block_len) {
                cell.status = FULL;
                erase(rec_used, index);
                rec_used.insert(rec_used.begin(), index);
                index = -1;
            }
        }
        return 0;
    }

    void run_slice(ReadFnc const& read_fnc) {
        while (!rec_used.empty() && cells[at(rec_used.front())].status == FULL) {
            give_back(rec_used.front());
        }
        for (long index = 0; index < static_cast<long>(cells.size()); ++index) {
            Cell const noted = cells[at(index)];
            if (noted.type == REC || noted.status != REQUESTED) {
                continue;
            }
            cells[at(index)].status = TRANSFER;
            freshen(index);
            if (!read_fnc(index)) {
                continue;
            }
            Cell& cell = cells[at(index)];
            if (cell.file == noted.file && cell.block == noted.block && cell.status == TRANSFER) {
                cell.status = FULL;
            } else {
                say("W check_cells_read(): too few cells!");
            }
        }
    }

    int close(long id) {
        if (!files.contains(id)) {
            return say_unknown("close_file", id);
        }
        if (!files[id].rec) {
            unlock_cells(files[id]);
        }
        for (long const index : std::vector<long>(rec_used)) {
            if (cells[at(index)].file == id) {
                give_back(index);
            }
        }
        for (long index = 0; index < static_cast<long>(cells.size()); ++index) {
            if (cells[at(index)].status != FREE && cells[at(index)].file == id) {
                cells[at(index)] = Cell();
                erase(lru, index);
                lru.insert(lru.begin(), index);
            }
        }
        files.erase(id);
        return 0;
    }

    int lock(long id, long pos, long len) {
        if (int const err = check_range("lock_data", "locked", id, pos, len); err != 0) {
            return err;
        }
        File& file = files[id];
        bool all = true;
        for (long const block : list_blocks(file, pos, len)) {
            long index = file.index_list[at(block)];
            if (index < 0) {
                if (lru.empty()) {
                    all = false;
                    continue;
                }
                index = lru.front();
                take(index, id, block, LOCKED);
            }
            erase(lru, index);
            cells[at(index)].type = LOCKED;
        }
        if (!all) {
            say("W lock_data(): Not enough available cell to lock all data for file \"" +
                file.path + "\"");
        }
        return 0;
    }

    int unlock(long id) {
        if (!files.contains(id)) {
            return say_unknown("unlock_data", id);
        }
        if (files[id].rec) {
            say("E unlock_data(): File \"" + files[id].path + "\" cannot have its data unlocked.");
            return ERR_FIXED;
        }
        unlock_cells(files[id]);
        return 0;
    }

    int invalidate(long id, long pos, long len) {
        if (int const err = check_range("invalidate_data", "invalidated", id, pos, len); err != 0) {
            return err;
        }
        File const& file = files[id];
        for (long const block : list_blocks(file, pos, len)) {
            long const index = file.index_list[at(block)];
            if (index >= 0 && cells[at(index)].status != TRANSFER) {
                cells[at(index)].status = REQUESTED;
            }
        }
        return 0;
    }

    int say_unknown(std::string const& name, long id) {
        say("E " + name + "(): Unknown file id " + std::to_string(id));
        return ERR_ID;
    }

    std::vector<Cell> cells;
    std::vector<long> lru; // from head to tail, as the others
    std::vector<long> rec_free;
    std::vector<long> rec_used;
    std::map<long, File> files;
    std::vector<std::string> log;
    long cell_len = 16384;
    long last_id = 0;

private:
    static std::size_t at(long index) { return static_cast<std::size_t>(index); }

    void say(std::string const& txt) { log.push_back(txt); }

    static void erase(std::vector<long>& list, long index) { std::erase(list, index); }

    void freshen(long index) {
        if (cells[at(index)].type == NORMAL) {
            erase(lru, index);
            lru.push_back(index);
        }
    }

    // Gives a cell to a block, and takes it from the block that had it.
    void take(long index, long id, long block, Type type) {
        Cell& cell = cells[at(index)];
        if (cell.status != FREE && files.contains(cell.file)) {
            files[cell.file].index_list[at(cell.block)] = -1;
        }
        File& file = files[id];
        long const content = std::min(file.block_len, file.len - block * file.block_len);
        cell = {type, REQUESTED, id, block, content, false};
        file.index_list[at(block)] = index;
    }

    void give_back(long index) {
        cells[at(index)] = Cell();
        cells[at(index)].type = REC;
        erase(rec_used, index);
        rec_free.insert(rec_free.begin(), index);
    }

    void unlock_cells(File const& file) {
        for (long const index : file.index_list) {
            if (index >= 0 && cells[at(index)].type == LOCKED) {
                cells[at(index)].type = NORMAL;
                lru.push_back(index);
            }
        }
    }

    int check_range(std::string const& name, char const* verb, long id, long pos, long len) {
        if (!files.contains(id)) {
            return say_unknown(name, id);
        }
        File const& file = files[id];
        if (file.rec) {
            say("E " + name + "(): File \"" + file.path + "\" cannot have its data " + verb + ".");
            return ERR_FIXED;
        }
        if (pos + len > file.len) {
            say("E " + name +
                "(): Requested data is out of range (block end: " + std::to_string(pos + len) +
                ", file len: " + std::to_string(file.len) + ", file \"" + file.path + "\").");
            return ERR_RANGE;
        }
        return 0;
    }

    // The blocks that hold the frames, and block 0 for no frames at 0 or the one around for no
    // frames inside of a block.
    static std::vector<long> list_blocks(File const& file, long pos, long len) {
        std::vector<long> list;
        for (long block = 0; block < static_cast<long>(file.index_list.size()); ++block) {
            long const beg = block * file.block_len;
            long const end = beg + file.block_len;
            bool const inside = len > 0 ? beg < pos + len && pos < end
                                        : (beg < pos && pos < end) || (pos == 0 && block == 0);
            if (inside) {
                list.push_back(block);
            }
        }
        return list;
    }

    Span make_span(File const& file, long index, long block, long pos, long len) const {
        long const beg = block * file.block_len;
        long const from = std::max(beg, pos);
        long const to = std::min(beg + cells[at(index)].content, pos + len);
        return {from, from - beg, to - from, index};
    }
};

} // namespace test
