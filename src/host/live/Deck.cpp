#include "host/live/Deck.h"

#include <algorithm>
#include <cmath>

namespace ulk::host::live {

namespace {

using engine::NotePlan;
using engine::NotePlayer;

constexpr auto whole_period = std::chrono::milliseconds(500);
// Gaps of a note in a block that are told apart.
constexpr int max_gaps = 32;

long long find_first(long long from, double sample_freq) {
    return std::max(from - std::llround(NotePlan::pre_roll_time * sample_freq), 0LL);
}

} // namespace

Deck::Deck(Material const& material, double sample_freq, long block_len, long long from)
    : _material(material)
    , _sample_freq(sample_freq)
    , _block_len(block_len)
    , _first(find_first(from, sample_freq))
    , _frame(from)
    , _skip(from - _first + NotePlan::lead)
    , _heard_beg(_skip)
    , _plan(material.session, material.fact_arr, {sample_freq, block_len, _first})
    , _engine(material.bundle, material.session, _plan, {sample_freq, block_len, _first},
              material.store)
    , _block_pos(block_len) {
    _engine.reserve_lists();
    for (auto const& player : _engine.use_players()) {
        PlayerState state;
        state.refused_arr.resize(player->get_nbr_notes());
        state.lack_arr.resize(player->get_nbr_notes());
        _player_arr.push_back(std::move(state));
    }
    std::size_t const nbr_voices = _player_arr.size() * NotePlan::nbr_voices;
    _silent_arr.reserve(nbr_voices);
    _gap_arr.reserve(nbr_voices * max_gaps);
}

Deck::~Deck() {
    give_back_ended(Note::never * 2);
}

bool Deck::feed(long len, int max_files) {
    Note::Range const span = find_span(len);
    give_back_ended(span.beg);
    bool const open_flag = open_files(span.end, max_files);
    list_demands(find_news(span));
    walk_demands(
        [this](Demand const& demand) { _material.store.prefetch(demand.id, demand.range); });
    _fed_end = open_flag ? span.end : 0;
    return open_flag;
}

// What has not been asked for; now and then all, since the cache may have had no room to keep it.
Deck::Note::Range Deck::find_news(Note::Range const& span) {
    auto const now = std::chrono::steady_clock::now();
    if (now < _whole_due) {
        return {std::max(span.beg, _fed_end), span.end};
    }
    _whole_due = now + whole_period;
    return span;
}

// Of the engine: from what it makes next to len frames behind what is heard next.
Deck::Note::Range Deck::find_span(long len) const {
    engine::CacheService::Pass const pass(_material.cache);
    long long const pos = _engine.get_pos();
    return {pos, std::max(pos, _heard_beg) + len};
}

void Deck::give_back_ended(long long pos) {
    for (std::size_t index = 0; index < _player_arr.size(); ++index) {
        NotePlayer const& player = *_engine.use_players()[index];
        auto& held_arr = _player_arr[index].held_arr;
        auto const ended = std::partition(held_arr.begin(), held_arr.end(), [&](std::size_t note) {
            return player.use_note(note).end >= pos;
        });
        for (auto note = ended; note != held_arr.end(); ++note) {
            _material.store.give_back(player.get_sample_id(*note));
        }
        held_arr.erase(ended, held_arr.end());
    }
}

bool Deck::open_files(long long end, int max_files) {
    int nbr_files = 0;
    _opened_arr.clear();
    for (std::size_t index = 0; index < _player_arr.size(); ++index) {
        NotePlayer const& player = *_engine.use_players()[index];
        PlayerState& state = _player_arr[index];
        for (; nbr_files < max_files && has_unopened(index, end); ++state.next, ++nbr_files) {
            auto const sample = static_cast<std::size_t>(player.use_note(state.next).sample);
            auto const id = _material.id_arr[sample];
            if (_material.store.hold(id)) {
                state.held_arr.push_back(state.next);
                _opened_arr.push_back({index, state.next, id});
            } else {
                _material.store.give_back(id);
                state.refused_arr[state.next] = true;
            }
        }
    }
    engine::CacheService::Pass const pass(_material.cache);
    for (Opened const& opened : _opened_arr) {
        _engine.use_players()[opened.player]->set_sample_id(opened.note, opened.id);
    }
    return are_files_open(end);
}

bool Deck::has_unopened(std::size_t index, long long end) const {
    NotePlayer const& player = *_engine.use_players()[index];
    std::size_t const next = _player_arr[index].next;
    return next < player.get_nbr_notes() && player.use_note(next).beg < end;
}

bool Deck::are_files_open(long long end) const {
    for (std::size_t index = 0; index < _player_arr.size(); ++index) {
        if (has_unopened(index, end)) {
            return false;
        }
    }
    return true;
}

void Deck::list_demands(Note::Range const& span) {
    _demand_arr.clear();
    for (std::size_t index = 0; index < _player_arr.size(); ++index) {
        NotePlayer const& player = *_engine.use_players()[index];
        for (std::size_t const place : _player_arr[index].held_arr) {
            Note const& note = player.use_note(place);
            long long const beg = std::max(span.beg, note.beg);
            long long const end = std::min(span.end, note.end);
            if (beg < end) {
                _demand_arr.push_back({player.get_sample_id(place), note.find_range(beg, end)});
            }
        }
    }
}

// Calls fnc(demand) for all, each in a pass of its own: some microseconds of work.
template <class F>
void Deck::walk_demands(F fnc) {
    for (Demand const& demand : _demand_arr) {
        engine::CacheService::Pass const pass(_material.cache);
        fnc(demand);
    }
}

bool Deck::is_loaded(long len) {
    Note::Range const span = find_span(len);
    if (!are_files_open(span.end)) {
        return false;
    }
    long long nbr_missing = 0;
    list_demands(span);
    walk_demands([&](Demand const& demand) {
        nbr_missing += _material.store.count_missing(demand.id, demand.range);
    });
    return nbr_missing == 0;
}

bool Deck::pre_roll() {
    if (_skip > 0) {
        make_block();
        _block_pos = static_cast<long>(std::min<long long>(_skip, _block_len));
        _skip -= _block_pos;
    }
    return is_rolled();
}

void Deck::read(float* const* chn_arr, long len) {
    int const nbr_chn = _material.session.nbr_chn;
    for (long done = 0; done < len;) {
        if (_block_pos == _block_len) {
            make_block();
            _block_pos = 0;
        }
        long const part = std::min(len - done, _block_len - _block_pos);
        count_lacks(part);
        auto const& mix = _engine.use_mix();
        for (int chn = 0; chn < nbr_chn; ++chn) {
            if (mix.state == engine::Engine::Dsp::State_SIGNAL) {
                std::copy_n(mix.chn_arr[chn] + _block_pos, part, chn_arr[chn] + done);
            } else {
                std::fill_n(chn_arr[chn] + done, part, 0.f);
            }
        }
        done += part;
        _block_pos += part;
    }
    _frame += len;
}

void Deck::make_block() {
    find_gaps();
    _engine.process(_block_len, _pool);
}

// In what the block is about to play.
void Deck::find_gaps() {
    long long const pos = _engine.get_pos();
    _gap_arr.clear();
    _engine.walk_ranges(_block_len, [&](std::size_t index, std::size_t note_place, auto const&) {
        NotePlayer const& player = *_engine.use_players()[index];
        Note const& note = player.use_note(note_place);
        auto const id = player.get_sample_id(note_place);
        if (id == NotePlayer::no_id) {
            _silent_arr.push_back({index, note_place});
            return;
        }
        int nbr_gaps = 0;
        _material.store.walk_lost(id, note, std::max(pos, note.heard_beg),
                                  std::min(pos + _block_len, note.heard_end),
                                  [&](Note::Range const& lost) {
                                      if (nbr_gaps++ < max_gaps) {
                                          _gap_arr.push_back({{index, note_place}, lost});
                                      } else {
                                          _gap_arr.back().frames.end = lost.end;
                                      }
                                  });
    });
    find_silent_notes();
}

// A note that has no file when it begins never plays.
void Deck::find_silent_notes() {
    long long const pos = _engine.get_pos();
    for (NotePlace const& place : _silent_arr) {
        Note const& note = _engine.use_players()[place.player]->use_note(place.note);
        _gap_arr.push_back(
            {place, {std::max(pos, note.heard_beg), std::min(pos + _block_len, note.heard_end)}});
    }
    std::erase_if(_silent_arr, [&](NotePlace const& place) {
        Note const& note = _engine.use_players()[place.player]->use_note(place.note);
        return note.heard_end <= pos + _block_len;
    });
}

// In the next len frames to be read of the block.
void Deck::count_lacks(long len) {
    long long const pos = _engine.get_pos() - _block_len + _block_pos;
    for (Gap const& gap : _gap_arr) {
        long long const beg = std::max(pos, gap.frames.beg);
        long long const lost = std::min(pos + len, gap.frames.end) - beg;
        if (lost > 0) {
            Lack& sum = _player_arr[gap.place.player].lack_arr[gap.place.note];
            sum.beg = sum.beg < 0 ? beg : sum.beg;
            sum.len += lost;
            _nbr_lost += lost;
        }
    }
}

std::vector<Deck::Loss> Deck::list_losses() const {
    std::vector<Loss> loss_arr;
    for (std::size_t index = 0; index < _player_arr.size(); ++index) {
        PlayerState const& state = _player_arr[index];
        for (std::size_t place = 0; place < state.lack_arr.size(); ++place) {
            Lack const& lack = state.lack_arr[place];
            if (lack.beg >= 0) {
                Note const& note = _engine.use_players()[index]->use_note(place);
                double const time =
                    static_cast<double>(lack.beg + _first - NotePlan::lead) / _sample_freq;
                loss_arr.push_back(
                    {note.track, note.clip, time, lack.len, state.refused_arr[place]});
            }
        }
    }
    return loss_arr;
}

} // namespace ulk::host::live
