#pragma once

namespace kryn {

// A row of every text table. Tables are closed by { 0, nullptr }: some have a live row of code 0,
// so the end is known by the null text alone.
struct CodeTxt {
    int code;
    char const* txt;
};

} // namespace kryn
