#pragma once

#include <string>

namespace ulk::prout {

// What a parameter tells about itself and how its value travels between its three forms:
// normalised (0 to 1, linear in the control's position), natural (in the parameter's unit) and
// text. Constant after construction: all conversions may run on any thread, beside PROCESS, and
// keep their working data on the stack. All return 0 or a code of ulk::ace.
class ParamInterface {
public:
    // Enumerations and bits are those of kryn::PluginDsp.
    struct Prop {
        std::string name;     // forms from short to long, separated by line feeds
        std::string unit;     // empty when none
        int flags = 0;        // ParamFlag bits
        int dir = 0;          // ParamDir
        int type_use = 0;     // ParamPredef
        int type_data = 0;    // ParamType
        int validity = 0;     // ParamValidityFlag bits
        int domain_time = 0;  // ParamRange
        int domain_val = 0;   // ParamRange
        int public_range = 0; // ParamPublicVal
        double val_min = 0;   // natural
        double val_max = 0;   // natural
    };

    virtual ~ParamInterface() = default;

    int get_prop(Prop& prop) const { return do_get_prop(prop); }
    int conv_norm_to_nat(double norm, double& nat) const { return do_conv_norm_to_nat(norm, nat); }
    int conv_nat_to_norm(double nat, double& norm) const { return do_conv_nat_to_norm(nat, norm); }
    // val: public form. txt: room for max_len characters and a terminator.
    int conv_to_str(double val, char* txt, long max_len) const {
        return do_conv_to_str(val, txt, max_len);
    }
    // val: public form.
    int conv_from_str(char const* txt, double& val) const { return do_conv_from_str(txt, val); }

protected:
    virtual int do_get_prop(Prop& prop) const = 0;
    virtual int do_conv_norm_to_nat(double norm, double& nat) const = 0;
    virtual int do_conv_nat_to_norm(double nat, double& norm) const = 0;
    virtual int do_conv_to_str(double val, char* txt, long max_len) const = 0;
    virtual int do_conv_from_str(char const* txt, double& val) const = 0;
};

} // namespace ulk::prout
