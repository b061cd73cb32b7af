#pragma once

#include "host/ChannelPool.h"
#include "host/PinConf.h"
#include "host/Plugin.h"
#include "ulk/kryn/PluginDsp.h"

#include <memory>
#include <string>
#include <vector>

namespace ulk::host {

// Plug-in instances and buses connected by their pins. Built and prepared on the control side, then
// run block by block. Silence travels as a pin state and is never computed: a source that is silent
// adds nothing to a sum, an input with one sounding source reads that source's buffers, and an
// output that nobody hears is not wanted from its plug-in.
class Graph {
public:
    using Dsp = kryn::PluginDsp;

    // One pin of one node.
    struct Pin {
        int node;
        int pin;
    };

    // A part of a block, in frames, with a gain that runs straight.
    struct GainSpan {
        long pos;
        long len;
        float beg;
        float end;
    };
    using GainSpans = std::vector<GainSpan>; // by position, without a gap; empty for unity

    // The instance is configured (sample frequency, pins) but not active; conf is its pin
    // configuration. Returns the index of the node.
    int add_node(std::string const& name, std::unique_ptr<Plugin> plugin, PinConf const& conf);
    // A node without a plug-in: its one output is the sum at its one input.
    int add_bus(std::string const& name, int nbr_chn);
    // Output src feeds input dst; several sources are summed in the order of their connection. A
    // mono source goes to all channels, onto a mono input goes the mean of all channels; otherwise
    // channels pair up, and those without a partner are dropped. Returns the index of the link.
    // Throws an Error when a pin does not exist.
    int connect(Pin src, Pin dst);
    // Settles the order, allocates all buffers and activates the instances. max_len: frames.
    // Throws an Error that names the nodes of a loop.
    void prepare(long max_len);

    int get_nbr_nodes() const { return static_cast<int>(_node_arr.size()); }
    std::string const& get_name(int node) const { return use(node).name; }
    Plugin& use_plugin(int node) { return *use(node).plugin; } // not of a bus
    // A block of a node's plug-in alone. Throws an Error that names the node, whatever the plug-in
    // throws. real-time
    void process_plugin(int node, Dsp::CmdPlug::Process& block);
    // Nodes in the order in which they run; nodes of one level don't depend on each other.
    std::vector<std::vector<int>> const& use_levels() const { return _level_arr; }

    // Below: real-time, after prepare().

    // The events of a node's next blocks; the list stays the caller's. Sorted by time stamp.
    void set_events(int node, Dsp::EventList const& evt_list) { use(node).evt_list = evt_list; }
    // A node that has nothing to do in the next blocks: its plug-in is left alone, and silent.
    void set_idle(int node, bool idle_flag) { use(node).idle_flag = idle_flag; }
    bool is_idle(int node) const { return use(node).idle_flag; }
    bool is_bus(int node) const { return use(node).is_bus(); }
    // The gain of a link in the next block.
    GainSpans& use_gain(int link) { return use_link(link).gain_arr; }
    GainSpans const& use_gain(int link) const { return use_link(link).gain_arr; }
    void process(long nbr_spl);
    // One node; those that it depends on are done. Nodes of one level may run in parallel.
    void process_node(int node, long nbr_spl);
    // The pins of a node as they were in the last block.
    Dsp::PinData const& use_input(int node, int pin) const {
        return use(node).pin_in_arr[static_cast<std::size_t>(pin)];
    }
    // Writes, or adds, what a link carried in the last block to nbr_chn channels. False, and
    // nothing done, when it was silent.
    bool render_link(int link, float* const* chn_arr, int nbr_chn, bool add_flag,
                     long nbr_spl) const;
    // The host may fill the buffers of a node that leaves its outputs to it, before process().
    Dsp::PinData& use_output(int node, int pin) {
        return use(node).pin_out_arr[static_cast<std::size_t>(pin)];
    }

private:
    struct Link {
        Pin src;
        int nbr_chn; // of the source
        GainSpans gain_arr;
    };

    struct Input {
        std::vector<int> link_arr;
        int nbr_chn = 0;
        std::vector<float*> own_arr; // own channels, for sums and conversions
    };

    struct Node {
        std::string name;
        std::unique_ptr<Plugin> plugin;
        PinConf conf;
        std::vector<Input> in_arr;
        std::vector<bool> heard_arr;          // by output pin: something is connected
        std::vector<Dsp::PinData> pin_in_arr; // what PROCESS gets
        std::vector<Dsp::PinData> pin_out_arr;
        std::vector<std::vector<float*>> out_chn_arr;
        Dsp::EventList evt_list = {nullptr, 0};
        int level = -1;
        bool idle_flag = false;

        bool is_bus() const { return plugin == nullptr; }
    };

    Node& use(int node) { return _node_arr[static_cast<std::size_t>(node)]; }
    Node const& use(int node) const { return _node_arr[static_cast<std::size_t>(node)]; }
    Link& use_link(int link) { return _link_arr[static_cast<std::size_t>(link)]; }
    Link const& use_link(int link) const { return _link_arr[static_cast<std::size_t>(link)]; }
    Dsp::PinData const& use_src(Link const& link) const {
        return use(link.src.node).pin_out_arr[static_cast<std::size_t>(link.src.pin)];
    }

    int add(Node&& node);
    void check_pin(Pin pin, kryn::PinDir dir) const;
    void settle_levels();
    int visit(int node, std::vector<int>& path);
    void allocate_buffers(long max_len);
    int find_last_level(Pin src) const; // of those that read the pin
    bool is_read(Input const& input, Pin src) const;
    bool is_sounding(Link const& link) const;
    static bool is_plain(Link const& link, Input const& input);
    void render(Link const& link, float* const* chn_arr, int nbr_chn, bool add_flag,
                long nbr_spl) const;
    void gather_input(Input& input, Dsp::PinData& pin, long nbr_spl);

    std::vector<Node> _node_arr;
    std::vector<Link> _link_arr;
    std::vector<std::vector<int>> _level_arr;
    std::unique_ptr<ChannelPool> _pool;
};

} // namespace ulk::host
