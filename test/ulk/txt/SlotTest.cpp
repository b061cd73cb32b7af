// The order of the virtual operations: a device may come from code that was built on its own.

#include "ulk/txt/out/ArgNumBase.h"
#include "ulk/txt/out/PrintInterface.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>

using namespace ulk::txt::out;

namespace {

// A pointer to a virtual member function holds the offset of its slot (Itanium C++ ABI).
template <class Fnc>
std::size_t find_slot(Fnc fnc) {
    static_assert(sizeof(fnc) == 2 * sizeof(std::size_t));
    std::size_t word_arr[2];
    std::memcpy(word_arr, &fnc, sizeof(fnc));
    return word_arr[0] / sizeof(void*);
}

struct PrintProbe : PrintInterface {
    using PrintInterface::do_get_string_len;
    using PrintInterface::do_is_truncated;
    using PrintInterface::do_reset;
};

struct ArgNumProbe : ArgNumBase {
    using ArgNumBase::get_nbr_displayed_chars;
    using ArgNumBase::print_digit_sequence;
    using ArgNumBase::print_number_sign;
};

// A device with nothing but what it must have
class MinimalPrint : public PrintInterface {
public:
    void print_begin() override { _txt += '<'; }
    void print_char(char c) override { _txt += c; }
    void print_end() override { _txt += '>'; }
    std::string const& get_txt() const { return _txt; }

protected:
    void do_reset() override { _txt += '|'; }
    bool do_is_truncated() const override { return true; }
    long do_get_string_len() const override { return 42; }

private:
    std::string _txt;
};

} // namespace

TEST(SlotTest, VirtualOperationsFollowTheDestructorInOrder) {
    EXPECT_EQ(2u, find_slot(&DevInterface::print_begin));
    EXPECT_EQ(3u, find_slot(&DevInterface::print_char));
    EXPECT_EQ(4u, find_slot(&DevInterface::print_end));
    EXPECT_EQ(5u, find_slot(&PrintProbe::do_reset));
    EXPECT_EQ(6u, find_slot(&PrintProbe::do_is_truncated));
    EXPECT_EQ(7u, find_slot(&PrintProbe::do_get_string_len));
    EXPECT_EQ(2u, find_slot(&ArgNumProbe::get_nbr_displayed_chars));
    EXPECT_EQ(3u, find_slot(&ArgNumProbe::print_number_sign));
    EXPECT_EQ(4u, find_slot(&ArgNumProbe::print_digit_sequence));
}

TEST(SlotTest, DevicesWithoutARunSinkGetEachCharacter) {
    MinimalPrint print;
    print.print("a%1m5r% %2% %3s3m9rw0%").arg(1.5).arg("xyz").arg(1234);
    EXPECT_EQ("|<a  1.5 xyz 0 001 234>", print.get_txt());
    print.cat("%1%").arg(-7);
    EXPECT_EQ("|<a  1.5 xyz 0 001 234>-7>", print.get_txt());
    EXPECT_TRUE(print.is_truncated());
    EXPECT_EQ(42, print.get_string_len());
}
