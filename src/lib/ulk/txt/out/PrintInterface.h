#pragma once

#include "ulk/archi/types.h"
#include "ulk/txt/out/DevInterface.h"

#include <typeinfo>

namespace ulk::txt::out {

class FmtInfo;

// The formatter: print (format).arg (a).arg (b). The text goes to the device the moment the last
// argument arrives that the format needs.
//
// A format is text with references "%1%", "%2m4r%": the number of an argument from 1 to 64, then
// options (see FmtInfo). "%%" is one "%", and a "%" in front of anything but a digit stands for
// itself. The highest number tells how many arguments are needed. A format that ends inside a
// reference or just behind a lone "%", or has a number above 64, is dropped: nothing is printed.
//
// Problems show in the text: an argument with a wrong option prints nothing, a number that does
// not fit its field turns into "#". Only a float that is not finite throws std::runtime_error,
// out of the call that completes the print; the text ends in front of it.
//
// The format and string arguments are not copied, and must outlive the chain. Nothing is
// allocated if the device does not, type names excepted. One thread at a time.
class PrintInterface : public DevInterface {
public:
    static constexpr int MAX_NBR_ARG = 64;

    PrintInterface() = default;
    PrintInterface(PrintInterface const& other) = delete;
    PrintInterface& operator=(PrintInterface const& other) = delete;

    // Starts a new text. A null pointer stands for no format.
    PrintInterface& print(char const* format); // real-time
    // Goes on with the present text. A format that is dropped takes it along.
    PrintInterface& cat(char const* format); // real-time

    // Next argument. p1 to p4 are the parameters that "!" and "$" reach in its options. Arguments
    // from the 65th on are ignored; from 2^63 up, an unsigned value shows as a negative number.
    // A null string is empty. A type shows by its name; the others are real-time.
    PrintInterface& arg(int val, long p1 = 0, long p2 = 0, long p3 = 0, long p4 = 0) {
        return push_int(val, p1, p2, p3, p4);
    }
    PrintInterface& arg(long val, long p1 = 0, long p2 = 0, long p3 = 0, long p4 = 0) {
        return push_int(val, p1, p2, p3, p4);
    }
    PrintInterface& arg(long long val, long p1 = 0, long p2 = 0, long p3 = 0, long p4 = 0) {
        return push_int(val, p1, p2, p3, p4);
    }
    PrintInterface& arg(unsigned int val, long p1 = 0, long p2 = 0, long p3 = 0, long p4 = 0) {
        return push_int(val, p1, p2, p3, p4);
    }
    PrintInterface& arg(unsigned long val, long p1 = 0, long p2 = 0, long p3 = 0, long p4 = 0) {
        return push_int(static_cast<archi::Int64>(val), p1, p2, p3, p4);
    }
    PrintInterface& arg(unsigned long long val, long p1 = 0, long p2 = 0, long p3 = 0,
                        long p4 = 0) {
        return push_int(static_cast<archi::Int64>(val), p1, p2, p3, p4);
    }
    PrintInterface& arg(double val, long p1 = 0, long p2 = 0, long p3 = 0, long p4 = 0) {
        return push_float(val, p1, p2, p3, p4);
    }
    PrintInterface& arg(long double val, long p1 = 0, long p2 = 0, long p3 = 0, long p4 = 0) {
        return push_float(val, p1, p2, p3, p4);
    }
    PrintInterface& arg(char const* txt, long p1 = 0, long p2 = 0, long p3 = 0, long p4 = 0) {
        return push_ptr(Type_STRING, txt != nullptr ? txt : "", p1, p2, p3, p4);
    }
    PrintInterface& arg(std::type_info const& type, long p1 = 0, long p2 = 0, long p3 = 0,
                        long p4 = 0) {
        return push_ptr(Type_TYPE_NAME, &type, p1, p2, p3, p4);
    }
    PrintInterface& arg(void const* ptr, long p1 = 0, long p2 = 0, long p3 = 0, long p4 = 0);

    // Forgets the format, the arguments and the text.
    void reset();
    // The text is longer than what the device could take.
    bool is_truncated() const;
    // Length of the whole text, also where the device could not take it
    long get_string_len() const;

protected:
    explicit PrintInterface(RunSink& sink)
        : DevInterface(sink) {}

    virtual void do_reset() = 0;
    virtual bool do_is_truncated() const = 0;
    virtual long do_get_string_len() const = 0;

private:
    enum Type { Type_INT = 0, Type_FLOAT, Type_STRING, Type_TYPE_NAME };

    // Left uninitialised: the table is large, and only what was received is read.
    struct ArgInfo {
        union {
            archi::Int64 val_int;
            long double val_float;
            void const* ptr;
        };
        long param_arr[4];
        Type type;
    };

    // What a "%" introduces: plain text, or an argument and its options
    struct Reference {
        int number; // -1 for plain text
        char const* txt;
        long len;
    };

    ArgInfo* open_arg(Type type, long p1, long p2, long p3, long p4) {
        if (_nbr_received >= MAX_NBR_ARG) {
            return nullptr;
        }
        ArgInfo& info = _arg_arr[_nbr_received++];
        info.param_arr[0] = p1;
        info.param_arr[1] = p2;
        info.param_arr[2] = p3;
        info.param_arr[3] = p4;
        info.type = type;
        return &info;
    }
    PrintInterface& push_int(archi::Int64 val, long p1, long p2, long p3, long p4) {
        if (ArgInfo* const info = open_arg(Type_INT, p1, p2, p3, p4)) {
            info->val_int = val;
            complete();
        }
        return *this;
    }
    PrintInterface& push_float(long double val, long p1, long p2, long p3, long p4) {
        if (ArgInfo* const info = open_arg(Type_FLOAT, p1, p2, p3, p4)) {
            info->val_float = val;
            complete();
        }
        return *this;
    }
    PrintInterface& push_ptr(Type type, void const* ptr, long p1, long p2, long p3, long p4) {
        if (ArgInfo* const info = open_arg(type, p1, p2, p3, p4)) {
            info->ptr = ptr;
            complete();
        }
        return *this;
    }
    void complete() {
        if (_format != nullptr && _nbr_received == _nbr_needed) {
            write_all();
        }
    }

    void set_format(char const* format);
    void write_all();
    void write_format();
    void write_arg(ArgInfo const& info, char const* opt, long opt_len);
    void write_plain_int(archi::Int64 val);
    void write_type_name(std::type_info const& type, FmtInfo const& fmt);
    static int find_nbr_arg(char const* pct);
    static char const* parse_reference(char const* pct, Reference& ref);

    char const* _format = nullptr;
    char const* _first_percent = nullptr; // or the end of the format
    int _nbr_needed = 0;
    int _nbr_received = 0;
    bool _append_flag = false;
    bool _started_flag = false;
    ArgInfo _arg_arr[MAX_NBR_ARG];
};

} // namespace ulk::txt::out
