#pragma once

#include "ulk/util/BinaryStreamInput.h"
#include "ulk/util/BinaryStreamOutputBase.h"

#include <string>

namespace ulk::prout {

// Description of one parameter in a document. The meaning of the fields is that of
// ParamInterface::Prop.
class DescParam {
public:
    virtual ~DescParam() = default;

    void set_range(double val_min, double val_max) {
        _val_min = val_min;
        _val_max = val_max;
    }
    double get_range_min() const { return _val_min; }
    double get_range_max() const { return _val_max; }
    void set_name(std::string const& name) { _name = name; }
    std::string const& get_name() const { return _name; }
    void set_unit(std::string const& unit) { _unit = unit; }
    std::string const& get_unit() const { return _unit; }
    void set_dir(int dir) { _dir = dir; }
    int get_dir() const { return _dir; }
    void set_flags(int flags) { _flags = flags; }
    int get_flags() const { return _flags; }
    void set_validity(int validity) { _validity_flags = validity; }
    int get_validity() const { return _validity_flags; }
    void set_public_range(int public_range) { _public_range = public_range; }
    int get_public_range() const { return _public_range; }
    void set_domain_val(int domain_val) { _domain_val = domain_val; }
    int get_domain_val() const { return _domain_val; }
    void set_domain_time(int domain_time) { _domain_time = domain_time; }
    int get_domain_time() const { return _domain_time; }
    void set_type_data(int type_data) { _type_data = type_data; }
    int get_type_data() const { return _type_data; }
    void set_type_use(int type_use) { _type_use = type_use; }
    int get_type_use() const { return _type_use; }

    void clear() { fill_default(); }
    // Range 0 to 1, natural public range, no text, all other fields 0.
    void fill_default();

    int write(util::BinaryStreamOutputBase& out) const;
    // Starts from the defaults. 0, or -14497 at the first field that can't be read.
    int read(util::BinaryStreamInput& in);

    // Bytes of the binary form with empty texts.
    static constexpr unsigned long min_len = 2 * 8 + 2 * 4 + 8 * 4;

private:
    // In the order of the stream.
    double _val_min = 0;
    double _val_max = 1;
    std::string _name;
    std::string _unit;
    int _dir = 0;
    int _flags = 0;
    int _validity_flags = 0;
    int _public_range = 1;
    int _domain_val = 0;
    int _domain_time = 0;
    int _type_data = 0;
    int _type_use = 0;
};

} // namespace ulk::prout
