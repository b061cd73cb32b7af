#pragma once

#include "ulk/kryn/CodeTxt.h"
#include "ulk/kryn/ParamLocation.h"
#include "ulk/kryn/PinDir.h"

#include <cstddef>
#include <type_traits>

namespace kryn {

// Records and commands of an audio plug-in. All records are plain: the caller owns them and what
// they point to, and both sides only borrow them for the length of a command.
class PluginDsp {
public:
    // One direction of an audio pin configuration.
    struct AudioConfPort {
        long nbr_pins_max; // capacity of chn_arr, set by the caller
        long nbr_pins;     // negative in a negotiation: no wish, the plug-in proposes
        long* chn_arr;     // channel count of each pin
    };

    struct AudioConf {
        AudioConfPort port_arr[PinDir_NBR_ELT];
    };

    struct FullPinConf {
        AudioConf audio;
        long nbr_pins_data_in;
        long nbr_pins_data_out;
    };

    // Activity of a pin, in PinData::state. On entry of PROCESS any value but State_SIGNAL on an
    // output says that the host does not want it: the plug-in then leaves the pin alone.
    enum State : long {
        State_SIGNAL = 0, // the buffers hold signal
        State_CLEARED,    // silent, the buffers hold cleared data
        State_DIRTY       // silent, the contents of the buffers are undefined
    };

    struct PinData {
        float** chn_arr; // one buffer per channel, aligned to 16 bytes
        long state;      // a State
    };

    struct ProcessInfoPort {
        PinData* pin_arr;
    };

    struct EventParam {
        ParamLocation location;
        long ramp_len;  // in frames; 0 is a jump to val_end
        double val_beg; // read only when ramp_len is not 0
        double val_end; // public range of the parameter
    };

    enum EventType : int {
        EventType_PARAM = 5,
        EventType_NOTE_ON = 6,
        EventType_NOTE_OFF = 7,
        EventType_NOTE_END = 8,
        EventType_ALL_NOTES_OFF = 9
    };

    struct Event {
        int type;       // an EventType; others are skipped
        long timestamp; // in frames from the first of the block
        union {
            EventParam param;
            int note_id;
        };
    };

    // Events of a block, by ascending timestamp; equal ones apply in the order of the list.
    struct EventList {
        Event const* const* evt_arr;
        long nbr_evt;

        // 1 when a null list has 0 events, and a list has no null entry; otherwise 0.
        int check_events() const;
    };

    class CmdPlug {
    public:
        enum : int {
            ACTIVATE = 0x3101,
            DEACTIVATE = 0x3102,
            GET_AUDIO_PIN_NAME = 0x3103,
            SET_PROCESS_BLOCK_LEN = 0x3104, // SetProcessBlockLen
            SET_SAMPLE_FREQ = 0x3105,       // SetSampleFreq
            GET_PROCESS_LATENCY = 0x3106,
            SET_AUDIO_OUTPUT_LATENCY = 0x3107,
            GET_TAIL_SIZE = 0x3108,
            SET_PROCESS_MODE = 0x3109,
            ADJUST_OUT_EVENT_BUFFER = 0x310A,
            GET_PIN_CONF = 0x310B,       // GetPinConf
            NEGOTIATE_PIN_CONF = 0x310C, // NegotiatePinConf
            SET_PIN_CONF = 0x310D,       // SetPinConf
            CONNECT_AUDIO_PIN_ASYNC = 0x310E,
            SET_AUDIO_QUALITY = 0x310F,
            PROCESS = 0x3110, // Process; real-time
            CLEAR_BUFFERS = 0x3111,
            GET_PARAM_VAL = 0x3112,          // GetParamVal
            CONV_PARAM_NAT_TO_NORM = 0x3113, // ConvParamNorm
            CONV_PARAM_NORM_TO_NAT = 0x3114, // ConvParamNorm
            CONV_PARAM_TO_STR = 0x3115,      // ConvParamToStr
            CONV_PARAM_FROM_STR = 0x3116     // ConvParamFromStr
        };

        struct SetProcessBlockLen {
            long reserved;
            long max_block_len; // largest nbr_spl that PROCESS will carry, in frames
        };

        struct SetSampleFreq {
            double sample_freq; // in Hz
        };

        struct GetPinConf {
            FullPinConf conf; // the caller sets nbr_pins_max and chn_arr of both ports
        };

        // Values of NegotiatePinConf::result.
        enum NegoResult : long { NegoResult_OK = 0, NegoResult_CHANGED, NegoResult_REFUSED };

        struct NegotiatePinConf {
            FullPinConf conf;
            long result; // a NegoResult
        };

        struct SetPinConf {
            FullPinConf conf;
        };

        struct Process {
            ProcessInfoPort port_in;
            ProcessInfoPort port_out;
            EventList evt_list;
            long nbr_spl; // block length in frames
        };

        struct GetParamVal {
            ParamLocation location;
            double val; // result, public range
        };

        struct ConvParamNorm {
            double val_nat;
            double val_norm; // 0 to 1
            ParamLocation location;
        };

        struct ConvParamToStr {
            ParamLocation location;
            double val; // public range
            char* txt;  // max_len + 1 bytes
            long max_len;
        };

        struct ConvParamFromStr {
            ParamLocation location;
            double val; // result, public range
            char const* txt;
        };

        // Keys of the properties that a plug-in declares towards the host.
        static constexpr char prop_can_set_audio_qual[] = "can_set_audio_quality";
        static constexpr char prop_can_set_audio_qual_rt[] = "can_set_audio_quality_rt";
        static constexpr char prop_min_sample_freq[] = "min_sample_freq";
        static constexpr char prop_max_sample_freq[] = "max_sample_freq";
        static constexpr char prop_drum_score[] = "drum_score";
        static constexpr char prop_has_uniform_cpu_load[] = "has_uniform_cpu_load";
        static constexpr char prop_accept_input_denorm[] = "accept_input_denormal_numbers";
        static constexpr char prop_kill_output_denorm[] = "kill_output_denormal_numbers";
        static constexpr char prop_kill_output_dc[] = "kill_output_dc_offset";
        static constexpr char prop_ignore_transp_evt[] = "ignore_transport_events";
    };

    class CmdHost {
    public:
        enum : int {
            SEND_EVENTS_SYNC = 0x3201,
            GET_UNIQUE_NOTE_ID = 0x3202,
            SIGNAL_DISPLAYED_DATA_CHANGE = 0x3203,
            SIGNAL_IO_CHANGE = 0x3204
        };

        // Keys of the properties that a host declares towards a plug-in.
        static constexpr char prop_can_send_evt_time_sig[] = "can_send_event_time_sig";
        static constexpr char prop_can_send_evt_tempo[] = "can_send_event_tempo";
        static constexpr char prop_can_send_evt_transp_jmp[] = "can_send_event_transport_jump";
        static constexpr char prop_can_send_evt_play_chg[] = "can_send_event_playback_change";
        static constexpr char prop_can_send_evt_pin_connect[] = "can_send_event_pin_connect";
        static constexpr char prop_min_audio_buf_align[] = "min_audio_buffer_alignment";
    };

    // Deliberately without a row for GET_PARAM_VAL.
    static const CodeTxt cmd_txt_list[25 + 1];

    // Predefined use of a parameter.
    enum ParamPredef : int {
        ParamPredef_UNDEFINED = 0,
        ParamPredef_NOTE_INDEX,
        ParamPredef_BASE_PITCH,
        ParamPredef_TRANSPOSE,
        ParamPredef_VELOCITY,
        ParamPredef_VOLUME,
        ParamPredef_PRESSURE,
        ParamPredef_MUTING,

        ParamPredef_NBR_ELT
    };

    // Kind of quantity.
    enum ParamType : int {
        ParamType_UNDEFINED = 0,
        ParamType_TIME_ABSOLUTE,
        ParamType_TIME_MUSICAL,
        ParamType_FREQUENCY,
        ParamType_PITCH,
        ParamType_GAIN,
        ParamType_LIN_VOLUME,
        ParamType_PHASE,
        ParamType_PAN_LIN_POS,

        ParamType_NBR_ELT
    };

    // Form of the value that the host sees.
    enum ParamPublicVal : int {
        ParamPublicVal_NORMALISED = 0,
        ParamPublicVal_NATURAL,

        ParamPublicVal_NBR_ELT
    };

    // How the value moves, in time or over its set of values.
    enum ParamRange : int {
        ParamRange_CONTINUOUS = 0,
        ParamRange_DISCRETE,

        ParamRange_NBR_ELT
    };

    enum ParamDir : int {
        ParamDir_STATEFUL = 0,
        ParamDir_IN,
        ParamDir_OUT,

        ParamDir_NBR_ELT
    };

    // Bits: at which moments of a note its parameter may be set.
    enum ParamValidityFlag : int {
        ParamValidityFlag_NOTE_ON = 1,
        ParamValidityFlag_NOTE_OFF = 2,
        ParamValidityFlag_NOTE_END = 4
    };

    // Bits.
    enum ParamFlag : int { ParamFlag_HIDDEN = 1, ParamFlag_UNUSED = 2 };

    // Texts of the enumerations above, used in the XML description document.
    static const CodeTxt param_type_use_txt_list[ParamPredef_NBR_ELT + 1];
    static const CodeTxt param_type_data_txt_list[ParamType_NBR_ELT + 1];
    static const CodeTxt param_public_range_txt_list[ParamPublicVal_NBR_ELT + 1];
    static const CodeTxt param_domain_txt_list[ParamRange_NBR_ELT + 1];
    static const CodeTxt param_dir_txt_list[ParamDir_NBR_ELT + 1];
    static const CodeTxt param_validity_flag_txt_list[3 + 1];
    static const CodeTxt param_flag_txt_list[2 + 1];

    // Atoms of the binary description document.
    static constexpr unsigned int atom_param_list = 0x70616C73;    // "pals"
    static constexpr unsigned int atom_pin_conf_list = 0x70636C73; // "pcls"

    // Names of the XML description document.
    static constexpr char xml_param_scope[] = "scope";
    static constexpr char xml_param_scope_name[] = "name";
    static constexpr char xml_param_scope_count[] = "count";
    static constexpr char xml_param_list[] = "parameters";
    static constexpr char xml_param[] = "parameter";
    static constexpr char xml_param_id[] = "id";
    static constexpr char xml_param_range[] = "range";
    static constexpr char xml_param_range_min[] = "min";
    static constexpr char xml_param_range_max[] = "max";
    static constexpr char xml_param_prop_name[] = "name";
    static constexpr char xml_param_prop_unit[] = "unit";
    static constexpr char xml_param_prop_flags[] = "flags";
    static constexpr char xml_param_prop_dir[] = "dir";
    static constexpr char xml_param_prop_validity[] = "validity";
    static constexpr char xml_param_prop_dom_val[] = "domain_val";
    static constexpr char xml_param_prop_dom_time[] = "domain_time";
    static constexpr char xml_param_prop_pub_range[] = "public_range";
    static constexpr char xml_param_prop_type_data[] = "type_data";
    static constexpr char xml_param_prop_type_use[] = "type_use";
    static constexpr char xml_conf_list[] = "pin_confs";
    static constexpr char xml_conf_list_def_id[] = "default_id";
    static constexpr char xml_conf[] = "pin_conf";
    static constexpr char xml_conf_id[] = "id";
    static constexpr char xml_conf_prop_name[] = "name";
    static constexpr char xml_conf_audio_pins[] = "pins_audio";
    static constexpr char xml_conf_audio_pins_in[] = "in";
    static constexpr char xml_conf_audio_pins_out[] = "out";
    static constexpr char xml_conf_data_pins[] = "pins_data";
    static constexpr char xml_conf_data_pins_in[] = "in";
    static constexpr char xml_conf_data_pins_out[] = "out";
};

// The order of the fields is the protocol; the offsets follow the target.
#define KRYN_CHECK_FIRST(rec, field)                                                               \
    static_assert(std::is_standard_layout_v<PluginDsp::rec> &&                                     \
                  std::is_trivial_v<PluginDsp::rec> && offsetof(PluginDsp::rec, field) == 0)
#define KRYN_CHECK_ORDER(rec, before, after)                                                       \
    static_assert(offsetof(PluginDsp::rec, before) < offsetof(PluginDsp::rec, after))
KRYN_CHECK_FIRST(AudioConfPort, nbr_pins_max);
KRYN_CHECK_ORDER(AudioConfPort, nbr_pins_max, nbr_pins);
KRYN_CHECK_ORDER(AudioConfPort, nbr_pins, chn_arr);
KRYN_CHECK_FIRST(AudioConf, port_arr);
KRYN_CHECK_FIRST(FullPinConf, audio);
KRYN_CHECK_ORDER(FullPinConf, audio, nbr_pins_data_in);
KRYN_CHECK_ORDER(FullPinConf, nbr_pins_data_in, nbr_pins_data_out);
KRYN_CHECK_FIRST(PinData, chn_arr);
KRYN_CHECK_ORDER(PinData, chn_arr, state);
KRYN_CHECK_FIRST(ProcessInfoPort, pin_arr);
KRYN_CHECK_FIRST(EventParam, location);
KRYN_CHECK_ORDER(EventParam, location, ramp_len);
KRYN_CHECK_ORDER(EventParam, ramp_len, val_beg);
KRYN_CHECK_ORDER(EventParam, val_beg, val_end);
KRYN_CHECK_FIRST(Event, type);
KRYN_CHECK_ORDER(Event, type, timestamp);
KRYN_CHECK_ORDER(Event, timestamp, param);
static_assert(offsetof(PluginDsp::Event, param) == offsetof(PluginDsp::Event, note_id));
KRYN_CHECK_FIRST(EventList, evt_arr);
KRYN_CHECK_ORDER(EventList, evt_arr, nbr_evt);
KRYN_CHECK_FIRST(CmdPlug::SetProcessBlockLen, reserved);
KRYN_CHECK_ORDER(CmdPlug::SetProcessBlockLen, reserved, max_block_len);
KRYN_CHECK_FIRST(CmdPlug::SetSampleFreq, sample_freq);
KRYN_CHECK_FIRST(CmdPlug::GetPinConf, conf);
KRYN_CHECK_FIRST(CmdPlug::NegotiatePinConf, conf);
KRYN_CHECK_ORDER(CmdPlug::NegotiatePinConf, conf, result);
KRYN_CHECK_FIRST(CmdPlug::SetPinConf, conf);
KRYN_CHECK_FIRST(CmdPlug::Process, port_in);
KRYN_CHECK_ORDER(CmdPlug::Process, port_in, port_out);
KRYN_CHECK_ORDER(CmdPlug::Process, port_out, evt_list);
KRYN_CHECK_ORDER(CmdPlug::Process, evt_list, nbr_spl);
KRYN_CHECK_FIRST(CmdPlug::GetParamVal, location);
KRYN_CHECK_ORDER(CmdPlug::GetParamVal, location, val);
KRYN_CHECK_FIRST(CmdPlug::ConvParamNorm, val_nat);
KRYN_CHECK_ORDER(CmdPlug::ConvParamNorm, val_nat, val_norm);
KRYN_CHECK_ORDER(CmdPlug::ConvParamNorm, val_norm, location);
KRYN_CHECK_FIRST(CmdPlug::ConvParamToStr, location);
KRYN_CHECK_ORDER(CmdPlug::ConvParamToStr, location, val);
KRYN_CHECK_ORDER(CmdPlug::ConvParamToStr, val, txt);
KRYN_CHECK_ORDER(CmdPlug::ConvParamToStr, txt, max_len);
KRYN_CHECK_FIRST(CmdPlug::ConvParamFromStr, location);
KRYN_CHECK_ORDER(CmdPlug::ConvParamFromStr, location, val);
KRYN_CHECK_ORDER(CmdPlug::ConvParamFromStr, val, txt);
#undef KRYN_CHECK_FIRST
#undef KRYN_CHECK_ORDER

} // namespace kryn
