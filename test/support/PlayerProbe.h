#pragma once

#include "host/live/Player.h"
#include "ulk/sacc/SplCacheStat.h"

namespace ulk::host::live {

// The inside of a player, to look at.
class PlayerProbe {
public:
    // Where it stands between two calls of process(), for the thread that makes them.
    struct View {
        void const* deck = nullptr; // null before the first one
        long long frame = 0;        // of the session, that is read next
        long long end = 0;          // where the deck gives way
        float gain = 1;             // of fades
    };
    static View look(Player const& player) {
        if (player._current == nullptr) {
            return {};
        }
        return {player._current->deck.get(), player._current->deck->get_frame(),
                player._current->end, player._gain};
    }

    // The frame for which a deck stands ready; -1 for none. For who serves it.
    static long long find_cue_frame(Player const& player) {
        return player._cue != nullptr ? player._cue->from : -1;
    }

    // Whether its first len frames are in memory.
    static bool is_cue_loaded(Player& player, long len) {
        return player._cue != nullptr && player._cue->deck->is_loaded(len);
    }

    // Closes all files, behind stop() and list_losses(); whether nothing is left in the cache then.
    static bool clear(Player& player) {
        player._store.reset();
        std::vector<long> file_arr;
        player._cache->use_cache().list_open_files(file_arr);
        sacc::SplCacheStat stat;
        player._cache->use_cache().collect_statistics(stat);
        return file_arr.empty() && stat.get_nbr_cells(sacc::SplCacheCell::Type_NORMAL,
                                                      sacc::SplCacheCell::Status_FREE) ==
                                       player._cache->get_size().get_nbr_cells();
    }
};

} // namespace ulk::host::live
