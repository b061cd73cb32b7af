// The bundle, with one fault: stands between the host and the real objects, and spoils what goes
// through. For the tests of who is to find it.

#include "Fault.h"
#include "ulk/ace/Err.h"
#include "ulk/ace/baplug/Factory.h"
#include "ulk/ace/baplug/vendor_cmd.h"
#include "ulk/kryn/Component.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/kryn/PluginFactory.h"
#include "ulk/prout/DescMain.h"
#include "ulk/prout/DescPluginList.h"
#include "ulk/udbg/LogMgr.h"

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

namespace {

using ulk::pibase::BidirComPoint;
using Dsp = kryn::PluginDsp;
using CmdPlug = Dsp::CmdPlug;
using Cmd = kryn::Component::Cmd;

int nbr_factories = 0;
int nbr_instances = 0;
void* volatile sink = nullptr;

// An object of the real bundle behind the point that the host knows.
struct Object {
    static int execute_static(BidirComPoint* com, int cmd, void* data) {
        return static_cast<Object*>(com->plugin_data)->execute(cmd, data);
    }
    static int execute_host_static(BidirComPoint* com, int cmd, void* data) {
        BidirComPoint* const host = static_cast<Object*>(com->host_data)->outer;
        return host->host_execute(host, cmd, data);
    }

    explicit Object(BidirComPoint& com)
        : outer(&com) {}

    void take_point() {
        outer->plugin_data = this;
        outer->plugin_execute = &execute_static;
    }
    int forward(int cmd, void* data) { return inner.plugin_execute(&inner, cmd, data); }

    int execute(int cmd, void* data);
    int destroy();
    int instantiate(kryn::PluginFactory::CmdFact::Instantiate& rec);
    int describe(Cmd::Describe& rec);
    int describe_factory(Cmd::Describe& rec);
    int execute_pins(int cmd, void* data);
    int execute_param(int cmd, void* data);
    int process(CmdPlug::Process& rec);
    void harm_thread();
    void harm_block(CmdPlug::Process& rec);
    void harm_wanted(Dsp::PinData& pin, long nbr_spl);
    void note_pins(Dsp::AudioConf const& conf);
    void run_out_of_luck();

    BidirComPoint* outer;
    BidirComPoint inner = {&execute_host_static, nullptr, this, nullptr};
    bool factory_flag = false;
    std::vector<long> chn_arr[2] = {{}, {}};
    bool wanted_arr[64] = {}; // by output pin, in the present block
    long nbr_blocks = 0;      // since the configuration
    bool clear_flag = false;  // CLEAR_BUFFERS came directly behind ACTIVATE
    bool fresh_flag = false;  // ACTIVATE was the last command
    int nbr = 0;
};

int Object::execute(int cmd, void* data) {
    bool const was_fresh_flag = std::exchange(fresh_flag, cmd == CmdPlug::ACTIVATE);
    switch (cmd) {
    case Cmd::DESTROY:
        return destroy();
    case Cmd::DESCRIBE:
        return describe(*static_cast<Cmd::Describe*>(data));
    case kryn::PluginFactory::CmdFact::INSTANTIATE:
        return instantiate(*static_cast<kryn::PluginFactory::CmdFact::Instantiate*>(data));
    case CmdPlug::GET_PIN_CONF:
    case CmdPlug::NEGOTIATE_PIN_CONF:
    case CmdPlug::SET_PIN_CONF:
        return execute_pins(cmd, data);
    case CmdPlug::CLEAR_BUFFERS:
        clear_flag = was_fresh_flag;
        return forward(cmd, data);
    case CmdPlug::DEACTIVATE:
        if (fault == Fault_life_crash && std::exchange(clear_flag, false)) {
            std::abort();
        }
        return forward(cmd, data);
    case CmdPlug::SET_SAMPLE_FREQ:
        return fault == Fault_foreign_code ? 12345 : forward(cmd, data);
    case CmdPlug::PROCESS:
        clear_flag = false;
        return process(*static_cast<CmdPlug::Process*>(data));
    case CmdPlug::GET_PARAM_VAL:
    case CmdPlug::CONV_PARAM_NAT_TO_NORM:
    case CmdPlug::CONV_PARAM_TO_STR:
    case CmdPlug::CONV_PARAM_FROM_STR:
        return execute_param(cmd, data);
    default:
        if (cmd > 0x4000 && fault == Fault_unknown_writes && data != nullptr) {
            ++*static_cast<char*>(data);
        }
        return cmd > 0x4000 && fault == Fault_unknown_accepted ? 0 : forward(cmd, data);
    }
}

int Object::destroy() {
    int const ret = forward(Cmd::DESTROY, nullptr);
    (factory_flag ? nbr_factories : nbr_instances) -= 1;
    if (fault == Fault_leak) {
        sink = std::malloc(100);
    }
    delete this;
    return ret;
}

int Object::instantiate(kryn::PluginFactory::CmdFact::Instantiate& rec) {
    if (rec.plug_id == nullptr || rec.com_point == nullptr) {
        if (fault == Fault_factory_crash) {
            std::abort();
        }
        return forward(kryn::PluginFactory::CmdFact::INSTANTIATE, &rec);
    }
    if (fault == Fault_few_instances && nbr_instances == 500) {
        return ulk::ace::Err_FAILURE;
    }
    auto* const object = new Object(*rec.com_point);
    kryn::PluginFactory::CmdFact::Instantiate copy = {rec.plug_id, &object->inner};
    int const ret = forward(kryn::PluginFactory::CmdFact::INSTANTIATE, &copy);
    if (ret != 0) {
        delete object;
        return fault == Fault_factory_code ? ulk::ace::Err_FAILURE : ret;
    }
    static int nbr_made = 0;
    object->nbr = ++nbr_made;
    object->take_point();
    ++nbr_instances;
    return 0;
}

int Object::describe(Cmd::Describe& rec) {
    if (factory_flag && fault == Fault_listed_twice) {
        return describe_factory(rec);
    }
    int const ret = forward(Cmd::DESCRIBE, &rec);
    if (factory_flag) {
        return ret;
    }
    if (fault == Fault_describe_writes && ret != 0 && rec.len > 0) {
        rec.data[0] = 1;
    }
    if (fault == Fault_foreign_id && ret == 0) {
        std::string const prefix = "Brevanto";
        auto* const end = rec.data + rec.len;
        auto* const pos = std::search(rec.data, end, prefix.begin(), prefix.end());
        if (pos != end) {
            *pos = 'C';
        }
    }
    return ret;
}

int Object::describe_factory(Cmd::Describe& rec) {
    ulk::prout::DescMain doc;
    ulk::prout::DescPluginList list;
    ulk::prout::DescPluginList::PlugInfo info;
    info._unique_id = "Brevanto#TessitoneBypass";
    list.use_plug_info_list() = {info, info};
    doc.add_desc_part(list);
    std::vector<unsigned char> bytes;
    doc.conv_to_bin(bytes);
    if (static_cast<int>(bytes.size()) > rec.len) {
        return ulk::ace::Err_NO_ROOM;
    }
    std::copy(bytes.begin(), bytes.end(), rec.data);
    rec.len = static_cast<int>(bytes.size());
    return 0;
}

void Object::note_pins(Dsp::AudioConf const& conf) {
    for (int dir = 0; dir < 2; ++dir) {
        auto const& port = conf.port_arr[dir];
        chn_arr[dir].assign(port.chn_arr, port.chn_arr + std::max(port.nbr_pins, 0L));
    }
    nbr_blocks = 0;
}

int Object::execute_pins(int cmd, void* data) {
    auto& conf = static_cast<CmdPlug::NegotiatePinConf*>(data)->conf; // each begins with it
    auto& in = conf.audio.port_arr[kryn::PinDir_IN];
    auto& out = conf.audio.port_arr[kryn::PinDir_OUT];
    if (cmd == CmdPlug::GET_PIN_CONF) {
        if (fault == Fault_pins_no_room && out.nbr_pins_max == 0) {
            return 0;
        }
        int const ret = forward(cmd, data);
        if (fault == Fault_pins_overrun) {
            out.chn_arr[out.nbr_pins_max] = 1;
        }
        return ret;
    }
    if (fault == Fault_proposes_nothing && in.nbr_pins < 0) {
        static_cast<CmdPlug::NegotiatePinConf*>(data)->result = CmdPlug::NegoResult_OK;
        return 0;
    }
    bool const mono_flag =
        in.nbr_pins == 1 && out.nbr_pins == 1 && in.chn_arr[0] == 1 && out.chn_arr[0] == 1;
    if (fault == Fault_declared_refused && mono_flag) {
        if (cmd == CmdPlug::NEGOTIATE_PIN_CONF) {
            static_cast<CmdPlug::NegotiatePinConf*>(data)->result = CmdPlug::NegoResult_REFUSED;
            return 0;
        }
        return ulk::ace::Err_INVALID_PIN_CONF;
    }
    int ret = forward(cmd, data);
    if (cmd == CmdPlug::SET_PIN_CONF) {
        if (ret == 0) {
            note_pins(conf.audio);
        } else if (fault == Fault_refused_code) {
            ret = ulk::ace::Err_FAILURE;
        }
    }
    return ret;
}

int Object::execute_param(int cmd, void* data) {
    int const ret = forward(cmd, data);
    if (cmd == CmdPlug::CONV_PARAM_TO_STR) {
        auto& rec = *static_cast<CmdPlug::ConvParamToStr*>(data);
        if (fault == Fault_text_overrun && ret == 0) {
            rec.txt[rec.max_len + 1] = 'x';
        }
        return fault == Fault_text_code && ret != 0 && rec.max_len == 2 ? ulk::ace::Err_FAILURE
                                                                        : ret;
    }
    if (ret != 0) {
        return ret;
    }
    if (cmd == CmdPlug::GET_PARAM_VAL && fault == Fault_value_range) {
        static_cast<CmdPlug::GetParamVal*>(data)->val = 1e9;
    } else if (cmd == CmdPlug::CONV_PARAM_NAT_TO_NORM && fault == Fault_norm_half) {
        static_cast<CmdPlug::ConvParamNorm*>(data)->val_norm *= 0.5;
    } else if (cmd == CmdPlug::CONV_PARAM_FROM_STR && fault == Fault_text_drifts) {
        static_cast<CmdPlug::ConvParamFromStr*>(data)->val *= 0.9;
    }
    return ret;
}

// Dies or hangs late enough that short runs are not struck, by whether the host lends samples.
void Object::run_out_of_luck() {
    if (++nbr_blocks != 15) {
        return;
    }
    ulk::ace::baplug::UseCache rec = {};
    bool const lent_flag =
        execute_host_static(&inner, ulk::ace::baplug::CMD_VENDOR_USE_CACHE, &rec) == 0;
    if (fault == (lent_flag ? Fault_sample_crash : Fault_crash)) {
        std::abort();
    }
    while (fault == Fault_hang && !lent_flag) {
        sink = nullptr;
    }
}

int Object::process(CmdPlug::Process& rec) {
    run_out_of_luck();
    if (fault == Fault_needs_factory && nbr_factories == 0) {
        std::abort();
    }
    for (std::size_t p = 0; p < chn_arr[1].size(); ++p) {
        wanted_arr[p] = rec.port_out.pin_arr[p].state == 0;
    }
    bool const idle_flag = fault == Fault_not_written && !chn_arr[1].empty();
    int const ret = idle_flag ? 0 : forward(CmdPlug::PROCESS, &rec);
    if (rec.nbr_spl > 0) {
        harm_block(rec);
    }
    harm_thread();
    if (fault == Fault_record) {
        rec.nbr_spl = 0;
    }
    return fault == Fault_process_code ? 1 : ret;
}

void Object::harm_thread() {
    static std::mutex mutex;
    static bool first_flag = true;
    switch (fault) {
    case Fault_allocates_first:
        if (!std::exchange(first_flag, false)) {
            break;
        }
        [[fallthrough]];
    case Fault_allocates:
        sink = std::malloc(10);
        std::free(sink);
        break;
    case Fault_locks:
        mutex.lock();
        mutex.unlock();
        break;
    case Fault_sleeps:
        ::usleep(1);
        break;
    case Fault_throws:
        throw std::runtime_error("let out");
    case Fault_point_host:
        outer->host_data = nullptr;
        break;
    case Fault_point_plugin:
        outer->plugin_data = nullptr;
        break;
    case Fault_rounding:
        std::fesetround(FE_UPWARD);
        break;
    default:
        break;
    }
}

void Object::harm_block(CmdPlug::Process& rec) {
    for (std::size_t p = 0; p < chn_arr[0].size(); ++p) {
        Dsp::PinData& pin = rec.port_in.pin_arr[p];
        if (fault == Fault_writes_input && pin.state == 0) {
            pin.chn_arr[0][rec.nbr_spl - 1] = 0.25f;
        }
    }
    for (long e = 0; e < rec.evt_list.nbr_evt && fault == Fault_writes_event; ++e) {
        const_cast<Dsp::Event*>(rec.evt_list.evt_arr[e])->timestamp += 1;
    }
    for (std::size_t p = 0; p < chn_arr[1].size(); ++p) {
        Dsp::PinData& pin = rec.port_out.pin_arr[p];
        if (fault == Fault_state_garbage && wanted_arr[p]) {
            pin.state = 7;
        } else if (fault == Fault_writes_unwanted && !wanted_arr[p]) {
            pin.chn_arr[0][0] = 0.5f;
        } else if (wanted_arr[p] && pin.state == 0) {
            harm_wanted(pin, rec.nbr_spl);
        }
    }
}

// A pin with signal.
void Object::harm_wanted(Dsp::PinData& pin, long nbr_spl) {
    float* const data = pin.chn_arr[0];
    switch (fault) {
    case Fault_writes_behind:
        data[nbr_spl] = 0.5f;
        break;
    case Fault_writes_before:
        data[-1] = 0.5f;
        break;
    case Fault_state_silent:
        pin.state = Dsp::State_DIRTY;
        break;
    case Fault_state_unclear:
        data[0] = 0.5f;
        pin.state = Dsp::State_CLEARED;
        break;
    case Fault_no_number:
        data[nbr_spl / 2] = NAN;
        break;
    case Fault_denormal:
        data[nbr_spl / 2] = 1e-40f;
        break;
    case Fault_differs:
        data[0] = static_cast<float>(nbr);
        break;
    default:
        break;
    }
}

int create_factory(void* data) {
    BidirComPoint& com = **static_cast<BidirComPoint**>(data);
    if (fault == Fault_no_factory) {
        return ulk::ace::Err_FAILURE;
    }
    auto* const object = new Object(com);
    object->factory_flag = true;
    new ulk::ace::baplug::Factory(object->inner);
    object->take_point();
    ++nbr_factories;
    return 0;
}

} // namespace

extern "C" [[gnu::visibility("default")]] int ulk_entry_point(int cmd, void* data) {
    switch (cmd) {
    case 1:
        return create_factory(data);
    case 2:
        ulk::udbg::LogMgr::create_as_plugin("faulty",
                                            reinterpret_cast<ulk::udbg::LogMgr::Callback>(data));
        return 0;
    default:
        return fault == Fault_entry_unknown ? 0 : -1;
    }
}
