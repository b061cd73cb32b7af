#include "host/Graph.h"

#include "host/Error.h"
#include "ulk/dsp/BasicMixing.h"

#include <algorithm>

namespace ulk::host {

namespace {

constexpr int level_visiting = -2;
constexpr int level_never = -3; // a buffer that is never given back

std::string tell_pin(std::string const& name, kryn::PinDir dir, int pin) {
    return name + (dir == kryn::PinDir_IN ? ", input pin " : ", output pin ") + std::to_string(pin);
}

} // namespace

int Graph::add_node(std::string const& name, std::unique_ptr<Plugin> plugin, PinConf const& conf) {
    Node node;
    node.name = name;
    node.plugin = std::move(plugin);
    node.conf = conf;
    for (long const nbr_chn : conf.in) {
        node.in_arr.push_back({{}, static_cast<int>(nbr_chn), {}});
    }
    node.heard_arr.assign(conf.out.size(), false);
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

void Graph::connect(Pin src, Pin dst) {
    check_pin(src, kryn::PinDir_OUT);
    check_pin(dst, kryn::PinDir_IN);
    long const nbr_src = use(src.node).conf.out[static_cast<std::size_t>(src.pin)];
    Input& input = use(dst.node).in_arr[static_cast<std::size_t>(dst.pin)];
    if (nbr_src != input.nbr_chn) {
        throw Error(Error::Kind_USE,
                    "routing: " + tell_pin(get_name(src.node), kryn::PinDir_OUT, src.pin) +
                        " has " + std::to_string(nbr_src) + " channels, " +
                        tell_pin(get_name(dst.node), kryn::PinDir_IN, dst.pin) + " has " +
                        std::to_string(input.nbr_chn));
    }
    input.src_arr.push_back(src);
    use(src.node).heard_arr[static_cast<std::size_t>(src.pin)] = true;
}

void Graph::prepare(long max_len) {
    dsp::BasicMixing::setup();
    settle_levels();
    allocate_buffers(max_len);
    for (Node& node : _node_arr) {
        node.plugin->set_process_block_len(max_len);
        node.plugin->activate();
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
            for (Pin const& src : input.src_arr) {
                level = std::max(level, visit(src.node, path) + 1);
            }
        }
        path.pop_back();
        self.level = level;
    }
    return self.level;
}

// Channels go back to the pool behind the last level that reads them, so that a long chain needs
// few. What a node without outputs reads is the graph's result, and stays until the next block.
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
            int const end_level = node.conf.out.empty() ? level_never : node.level;
            for (Input& input : node.in_arr) {
                if (input.src_arr.size() != 1) {
                    input.own_arr = take(input.nbr_chn, end_level);
                }
            }
            for (std::size_t pin = 0; pin < node.conf.out.size(); ++pin) {
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
        for (auto& chn_arr : node.out_chn_arr) {
            node.pin_out_arr.push_back({chn_arr.data(), Dsp::State_DIRTY});
        }
    }
}

int Graph::find_last_level(Pin src) const {
    int last_level = use(src.node).level;
    for (Node const& node : _node_arr) {
        for (Input const& input : node.in_arr) {
            auto const is_src = [src](Pin pin) {
                return pin.node == src.node && pin.pin == src.pin;
            };
            if (std::any_of(input.src_arr.begin(), input.src_arr.end(), is_src)) {
                if (node.conf.out.empty()) {
                    return level_never;
                }
                last_level = std::max(last_level, node.level);
            }
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
    for (std::size_t pin = 0; pin < node.pin_out_arr.size(); ++pin) {
        node.pin_out_arr[pin].state = node.heard_arr[pin] ? Dsp::State_SIGNAL : Dsp::State_CLEARED;
    }
    Dsp::CmdPlug::Process block = {
        {node.pin_in_arr.data()}, {node.pin_out_arr.data()}, node.evt_list, nbr_spl};
    node.plugin->process(block);
}

void Graph::gather_input(Input& input, Dsp::PinData& pin, long nbr_spl) {
    Dsp::PinData const* first = nullptr;
    bool sum_flag = false;
    for (Pin const& src : input.src_arr) {
        Dsp::PinData const& next = use_output(src.node, src.pin);
        if (next.state != Dsp::State_SIGNAL) {
            continue;
        }
        if (first == nullptr) {
            first = &next;
            continue;
        }
        for (int chn = 0; chn < input.nbr_chn; ++chn) {
            float* const dst = input.own_arr[static_cast<std::size_t>(chn)];
            if (!sum_flag) {
                dsp::BasicMixing::copy_2_1(dst, first->chn_arr[chn], next.chn_arr[chn], nbr_spl);
            } else {
                dsp::BasicMixing::mix_1_1(dst, next.chn_arr[chn], nbr_spl);
            }
        }
        sum_flag = true;
    }
    if (sum_flag) {
        pin = {input.own_arr.data(), Dsp::State_SIGNAL};
    } else if (first != nullptr) {
        pin = *first;
    } else if (input.src_arr.size() == 1) {
        pin = use_output(input.src_arr[0].node, input.src_arr[0].pin);
    } else {
        pin = {input.own_arr.data(), Dsp::State_DIRTY};
    }
}

} // namespace ulk::host
