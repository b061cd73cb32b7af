// Writing and reading a description document of the size of the Tape's (2156 bytes), beside a copy
// of its bytes and the same content as JSON.

#include "host/Description.h"
#include "ulk/prout/DescMain.h"
#include "ulk/prout/DescParamList.h"
#include "ulk/prout/DescPinConfList.h"
#include "ulk/prout/DescProperties.h"
#include "ulk/prout/DescUniqueId.h"

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace ulk;
using Bytes = std::vector<unsigned char>;

// Nine parameters and pin configurations until the document is as long as the Tape's.
struct Doc {
    Doc() {
        main.add_desc_part(prop);
        main.add_desc_part(unique_id);
        main.add_desc_part(param_list);
        main.add_desc_part(conf_list);
    }
    void fill() {
        prop.set_property("ignore_transport_events", "1");
        unique_id.set_id("Brevanto#TessitoneAudioTape");
        param_list.set_nbr_param(kryn::ParamScope_GLOBAL, 2);
        param_list.set_nbr_param(kryn::ParamScope_NOTE, 7);
        for (auto scope : {kryn::ParamScope_GLOBAL, kryn::ParamScope_NOTE}) {
            for (int index = 0; index < param_list.get_nbr_param(scope); ++index) {
                auto& param = param_list.use_param(scope, index);
                param.set_name("SV\nSpl vol\nSample vol\nSample volume");
                param.set_unit("dB");
                param.set_range(0, 16);
            }
        }
        Bytes data;
        do {
            conf_list.add_conf(0, 0x2222, 0, 0, nullptr);
            main.conv_to_bin(data);
        } while (data.size() < 2156);
    }

    prout::DescProperties prop;
    prout::DescUniqueId unique_id;
    prout::DescParamList param_list;
    prout::DescPinConfList conf_list;
    prout::DescMain main;
};

Bytes make_bytes() {
    Doc doc;
    doc.fill();
    Bytes data;
    doc.main.conv_to_bin(data);
    return data;
}

nlohmann::json make_json() {
    Bytes const data = make_bytes();
    return nlohmann::json(
        host::Description({reinterpret_cast<char const*>(data.data()), data.size()}, "bench")
            .conv_to_json());
}

void set_bytes(benchmark::State& state, std::size_t len) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(len));
}

void copy_bytes(benchmark::State& state) {
    Bytes const data = make_bytes();
    Bytes dst(data.size());
    for (auto _ : state) {
        std::memcpy(dst.data(), data.data(), data.size());
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    set_bytes(state, data.size());
}

void write_bin(benchmark::State& state) {
    Doc doc;
    doc.fill();
    Bytes data(4096);
    int len = 0;
    for (auto _ : state) {
        len = static_cast<int>(data.size());
        doc.main.conv_to_bin(data.data(), len);
        benchmark::DoNotOptimize(data.data());
    }
    set_bytes(state, static_cast<std::size_t>(len));
}

void write_json(benchmark::State& state) {
    nlohmann::json const json = make_json();
    std::size_t len = 0;
    for (auto _ : state) {
        std::string const txt = json.dump();
        len = txt.size();
        benchmark::DoNotOptimize(txt.data());
    }
    set_bytes(state, len);
}

void read_bin(benchmark::State& state) {
    Bytes const data = make_bytes();
    for (auto _ : state) {
        Doc doc;
        benchmark::DoNotOptimize(doc.main.conv_from_bin(data));
    }
    set_bytes(state, data.size());
}

void read_json(benchmark::State& state) {
    std::string const txt = make_json().dump();
    for (auto _ : state) {
        auto const json = nlohmann::json::parse(txt);
        benchmark::DoNotOptimize(&json);
    }
    set_bytes(state, txt.size());
}

} // namespace

BENCHMARK(write_bin)->Name("write_desc/tessitone");
BENCHMARK(write_json)->Name("write_desc/nlohmann_json");
BENCHMARK(copy_bytes)->Name("write_desc/memcpy");
BENCHMARK(read_bin)->Name("read_desc/tessitone");
BENCHMARK(read_json)->Name("read_desc/nlohmann_json");
BENCHMARK(copy_bytes)->Name("read_desc/memcpy");
