#include "host/Graph.h"

#include "host/Error.h"
#include "ulk/dsp/BasicMixing.h"

#include <algorithm>
#include <exception>

namespace ulk::host {

namespace {

constexpr int level_visiting = -2;
constexpr int level_never = -3; // a buffer that is never given back

void render_channel(float* dst, float const* src, Graph::GainSpans const& gain_arr, float factor,
                    bool add_flag, long nbr_spl) {
    using dsp::BasicMixing;
    if (gain_arr.empty() && factor == 1.0f) {
        (add_flag ? BasicMixing::mix_1_1 : BasicMixing::copy_1_1)(dst, src, nbr_spl);
        return;
    }
    auto const routine = add_flag ? BasicMixing::mix_1_1_vlrauto : BasicMixing::copy_1_1_vlrauto;
    if (gain_arr.empty()) {
        routine(dst, src, nbr_spl, factor, factor);
    }
    for (Graph::GainSpan const& span : gain_arr) {
        routine(dst + span.pos, src + span.pos, span.len, span.beg * factor, span.end * factor);
    }
}

std::string tell_pin(std::string const& name, kryn::PinDir dir, int pin) {
    return name + (dir == kryn::PinDir_IN ? ", input pin " : ", output pin ") + std::to_string(pin);
}

} // namespace

int Graph::add_node(std::string const& name, std::unique_ptr<Plugin> plugin, PinConf const& conf) {
    Node node;
    node.name = name;
    node.plugin = std::move(plugin);
    node.conf = conf;
    return add(std::move(node));
}

int Graph::add_bus(std::string const& name, int nbr_chn) {
    Node node;
    node.name = name;
    node.conf = {{nbr_chn}, {nbr_chn}};
    return add(std::move(node));
}

int Graph::add(Node&& node) {
    for (long const nbr_chn : node.conf.in) {
        node.in_arr.push_back({{}, static_cast<int>(nbr_chn), {}});
    }
    node.heard_arr.assign(node.conf.out.size(), false);
    _node_arr.push_back(std::move(node));
    return get_nbr_nodes() - 1;
}

void Graph::check_pin(Pin pin, kryn::PinDir dir) const {
    if (pin.node < 0 || pin.node >= get_nbr_nodes()) {
        throw Error(Error::Kind_USE, "routing: no node " + std::to_string(pin.node));
    }
    PinConf const& conf = use(pin.node).conf;
    auto const& side = dir == kryn::PinDir_IN ? conf.in : conf.out;
    if (pin.pin < 0 || static_cast<std::size_t>(pin.pin) >= side.size()) {
        throw Error(Error::Kind_USE, "routing: no " + tell_pin(use(pin.node).name, dir, pin.pin) +
                                         "; it has " + std::to_string(side.size()));
    }
}

int Graph::connect(Pin src, Pin dst) {
    check_pin(src, kryn::PinDir_OUT);
    check_pin(dst, kryn::PinDir_IN);
    long const nbr_src = use(src.node).conf.out[static_cast<std::size_t>(src.pin)];
    int const link = static_cast<int>(_link_arr.size());
    _link_arr.push_back({src, static_cast<int>(nbr_src), {}});
    use(dst.node).in_arr[static_cast<std::size_t>(dst.pin)].link_arr.push_back(link);
    use(src.node).heard_arr[static_cast<std::size_t>(src.pin)] = true;
    return link;
}

void Graph::prepare(long max_len) {
    dsp::BasicMixing::setup();
    settle_levels();
    allocate_buffers(max_len);
    for (Node& node : _node_arr) {
        if (!node.is_bus()) {
            node.plugin->set_process_block_len(max_len);
            node.plugin->activate();
        }
    }
}

void Graph::settle_levels() {
    _level_arr.clear();
    for (Node& node : _node_arr) {
        node.level = -1;
    }
    std::vector<int> path;
    for (int node = 0; node < get_nbr_nodes(); ++node) {
        std::size_t const level = static_cast<std::size_t>(visit(node, path));
        _level_arr.resize(std::max(_level_arr.size(), level + 1));
        _level_arr[level].push_back(node);
    }
}

// The level of a node: one above the highest of its sources. path: the nodes under visit.
int Graph::visit(int node, std::vector<int>& path) {
    Node& self = use(node);
    if (self.level == level_visiting) {
        std::string text = "routing: a loop:";
        for (auto pos = std::find(path.begin(), path.end(), node); pos != path.end(); ++pos) {
            text += " " + get_name(*pos) + " <-";
        }
        throw Error(Error::Kind_USE, text + " " + self.name);
    }
    if (self.level < 0) {
        self.level = level_visiting;
        path.push_back(node);
        int level = 0;
        for (Input const& input : self.in_arr) {
            for (int const link : input.link_arr) {
                level = std::max(level, visit(use_link(link).src.node, path) + 1);
            }
        }
        path.pop_back();
        self.level = level;
    }
    return self.level;
}

// Channels go back to the pool behind the last level that reads them, so that a long chain needs
// few. What a node without outputs reads is the graph's result, and stays until the next block. A
// bus hands on what it reads.
void Graph::allocate_buffers(long max_len) {
    _pool = std::make_unique<ChannelPool>(max_len);
    std::vector<std::vector<float*>> release_arr(_level_arr.size());
    auto const take = [&](long nbr_chn, int last_level) {
        std::vector<float*> chn_arr;
        for (long chn = 0; chn < nbr_chn; ++chn) {
            chn_arr.push_back(_pool->take());
        }
        if (last_level != level_never) {
            auto& release = release_arr[static_cast<std::size_t>(last_level)];
            release.insert(release.end(), chn_arr.begin(), chn_arr.end());
        }
        return chn_arr;
    };
    for (std::size_t level = 0; level < _level_arr.size(); ++level) {
        for (int const index : _level_arr[level]) {
            Node& node = use(index);
            int end_level = node.conf.out.empty() ? level_never : node.level;
            if (node.is_bus()) {
                end_level = find_last_level({index, 0});
            }
            for (Input& input : node.in_arr) {
                input.own_arr = take(input.nbr_chn, end_level);
            }
            for (std::size_t pin = 0; pin < node.conf.out.size() && !node.is_bus(); ++pin) {
                Pin const src = {index, static_cast<int>(pin)};
                node.out_chn_arr.push_back(take(node.conf.out[pin], find_last_level(src)));
            }
        }
        for (float* const channel : release_arr[level]) {
            _pool->give_back(channel);
        }
    }
    for (Node& node : _node_arr) {
        node.pin_in_arr.assign(node.in_arr.size(), {nullptr, Dsp::State_DIRTY});
        node.pin_out_arr.assign(node.conf.out.size(), {nullptr, Dsp::State_DIRTY});
        for (std::size_t pin = 0; pin < node.out_chn_arr.size(); ++pin) {
            node.pin_out_arr[pin].chn_arr = node.out_chn_arr[pin].data();
        }
    }
}

bool Graph::is_read(Input const& input, Pin src) const {
    return std::any_of(input.link_arr.begin(), input.link_arr.end(), [&](int link) {
        Pin const& pin = use_link(link).src;
        return pin.node == src.node && pin.pin == src.pin;
    });
}

int Graph::find_last_level(Pin src) const {
    int last_level = use(src.node).level;
    for (int index = 0; index < get_nbr_nodes(); ++index) {
        Node const& node = use(index);
        for (Input const& input : node.in_arr) {
            if (!is_read(input, src)) {
                continue;
            }
            int const level = node.conf.out.empty() ? level_never
                              : node.is_bus()       ? find_last_level({index, 0})
                                                    : node.level;
            if (level == level_never) {
                return level_never;
            }
            last_level = std::max(last_level, level);
        }
    }
    return last_level;
}

void Graph::process(long nbr_spl) {
    for (auto const& level : _level_arr) {
        for (int const node : level) {
            process_node(node, nbr_spl);
        }
    }
}

void Graph::process_node(int index, long nbr_spl) {
    Node& node = use(index);
    for (std::size_t pin = 0; pin < node.in_arr.size(); ++pin) {
        gather_input(node.in_arr[pin], node.pin_in_arr[pin], nbr_spl);
    }
    if (node.is_bus()) {
        node.pin_out_arr[0] = node.pin_in_arr[0];
        return;
    }
    for (std::size_t pin = 0; pin < node.pin_out_arr.size(); ++pin) {
        bool const wanted_flag = node.heard_arr[pin] && !node.idle_flag;
        node.pin_out_arr[pin].state = wanted_flag ? Dsp::State_SIGNAL : Dsp::State_CLEARED;
    }
    if (!node.idle_flag) {
        Dsp::CmdPlug::Process block = {
            {node.pin_in_arr.data()}, {node.pin_out_arr.data()}, node.evt_list, nbr_spl};
        process_plugin(index, block);
    }
}

// A plug-in of others may throw whatever it likes.
void Graph::process_plugin(int node, Dsp::CmdPlug::Process& block) {
    try {
        use_plugin(node).process(block);
    } catch (std::exception const& e) {
        throw Error(Error::Kind_MATERIAL, get_name(node) + ": " + e.what());
    } catch (...) {
        throw Error(Error::Kind_MATERIAL, get_name(node) + ": threw something in PROCESS");
    }
}

bool Graph::is_sounding(Link const& link) const {
    if (use_src(link).state != Dsp::State_SIGNAL) {
        return false;
    }
    auto const is_mute = [](GainSpan const& span) { return span.beg == 0 && span.end == 0; };
    return link.gain_arr.empty() ||
           !std::all_of(link.gain_arr.begin(), link.gain_arr.end(), is_mute);
}

// Nothing has to be computed for it.
bool Graph::is_plain(Link const& link, Input const& input) {
    return link.gain_arr.empty() && link.nbr_chn == input.nbr_chn;
}

void Graph::gather_input(Input& input, Dsp::PinData& pin, long nbr_spl) {
    Link const* first = nullptr;
    bool own_flag = false;
    for (int const index : input.link_arr) {
        Link const& link = use_link(index);
        if (!is_sounding(link)) {
            continue;
        }
        if (first == nullptr) {
            first = &link;
            continue;
        }
        if (!own_flag) {
            render(*first, input.own_arr.data(), input.nbr_chn, false, nbr_spl);
            own_flag = true;
        }
        render(link, input.own_arr.data(), input.nbr_chn, true, nbr_spl);
    }
    if (first != nullptr && !own_flag && is_plain(*first, input)) {
        pin = use_src(*first);
        return;
    }
    if (first != nullptr && !own_flag) {
        render(*first, input.own_arr.data(), input.nbr_chn, false, nbr_spl);
    }
    pin = {input.own_arr.data(), first != nullptr ? Dsp::State_SIGNAL : Dsp::State_DIRTY};
}

bool Graph::render_link(int link, float* const* chn_arr, int nbr_chn, bool add_flag,
                        long nbr_spl) const {
    bool const sounding_flag = is_sounding(use_link(link));
    if (sounding_flag) {
        render(use_link(link), chn_arr, nbr_chn, add_flag, nbr_spl);
    }
    return sounding_flag;
}

void Graph::render(Link const& link, float* const* chn_arr, int nbr_chn, bool add_flag,
                   long nbr_spl) const {
    float* const* const src_arr = use_src(link).chn_arr;
    bool const fold_flag = nbr_chn == 1 && link.nbr_chn > 1;
    for (int chn = 0; chn < nbr_chn; ++chn) {
        int const src = link.nbr_chn == 1 ? 0 : chn;
        if (src < link.nbr_chn) {
            float const factor = fold_flag ? 1.0f / static_cast<float>(link.nbr_chn) : 1.0f;
            render_channel(chn_arr[chn], src_arr[src], link.gain_arr, factor, add_flag, nbr_spl);
            for (int more = 1; fold_flag && more < link.nbr_chn; ++more) {
                render_channel(chn_arr[0], src_arr[more], link.gain_arr, factor, true, nbr_spl);
            }
        } else if (!add_flag) {
            dsp::BasicMixing::clear(chn_arr[chn], nbr_spl);
        }
    }
}

} // namespace ulk::host
