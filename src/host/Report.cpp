#include "host/Report.h"

#include "host/Bundle.h"
#include "host/Error.h"
#include "ulk/ace/Constants.h"
#include "ulk/archi/CpuId.h"
#include "ulk/dsp/BasicMixing.h"
#include "ulk/dsp/BasicMixingAlign.h"
#include "ulk/sys/FilesystemSpec.h"
#include "ulk/sys/SystemInfo.h"
#include "ulk/sys/ThreadMgr.h"
#include "ulk/sys/posix/Folders.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>

namespace ulk::host {

namespace {

using Json = nlohmann::ordered_json;

Json make_text(std::string const& txt) {
    return txt.empty() ? Json() : Json(txt);
}

Json make_number(long val) {
    return val < 0 ? Json() : Json(val);
}

Json make_limit(long val) {
    return val == sys::SystemInfo::UNLIMITED ? Json("unlimited") : make_number(val);
}

std::string get_compiler_name() {
#if defined(__clang__)
    return "Clang " __clang_version__;
#elif defined(__GNUC__)
    return "GCC " __VERSION__;
#else
    return "";
#endif
}

Json make_program() {
#if defined(NDEBUG)
    char const* const build = "release";
#else
    char const* const build = "debug";
#endif
    return {{"version", TESSITONE_VERSION},
            {"compiler", make_text(get_compiler_name())},
            {"build", build}};
}

Json make_bundle(std::string const& path) {
    Json section = {{"path", path}};
    try {
        Bundle bundle(path);
        section["plugins"] = bundle.list_plugins();
    } catch (Error const& e) {
        section["failure"] = e.what();
    }
    return section;
}

Json make_system() {
    using sys::SystemInfo;
    return {{"name", make_text(SystemInfo::get_system_name())},
            {"kernel", make_text(SystemInfo::get_kernel_name())},
            {"machine", make_text(SystemInfo::get_machine_name())}};
}

Json make_processor() {
    archi::CpuId const& cpu = archi::CpuId::use_instance();
    Json features = Json::array();
    auto const add = [&](bool flag, char const* name) {
        if (flag) {
            features.push_back(name);
        }
    };
    add(cpu.has_mmx(), "MMX");
    add(cpu.has_3dnow(), "3DNow!");
    add(cpu.has_sse(), "SSE");
    add(cpu.has_sse2(), "SSE2");
    add(cpu.has_sse3(), "SSE3");
    add(cpu.has_cx16(), "CX16");
    add(cpu.has_altivec(), "AltiVec");
    return {{"name", make_text(sys::SystemInfo::get_processor_name())},
            {"logical_processors", sys::ThreadMgr::count_nbr_logical_proc()},
            {"features", features}};
}

// What the tables really hold, whatever the processor could do.
Json make_routines() {
    dsp::BasicMixing::setup();
    dsp::BasicMixingAlign::setup();
    bool const vector_flag = dsp::BasicMixingAlign::mix_1_1 != dsp::BasicMixing::mix_1_1;
    char const* const vector_name = archi::CpuId::use_instance().has_sse() ? "SSE" : "AltiVec";
    return {{"mixing", "default"}, {"mixing_aligned", vector_flag ? vector_name : "default"}};
}

Json make_limits() {
    using sys::SystemInfo;
    sys::FilesystemSpec const& spec = sys::FilesystemSpec::use_instance();
    return {{"pins", ace::Constants::MAX_NBR_PINS},
            {"user_audio_pins", ace::Constants::MAX_NBR_USER_AUDIO_PINS},
            {"path_bytes", spec.get_max_pathname_length()},
            {"page_bytes", make_number(SystemInfo::get_page_len())},
            {"open_files", make_limit(SystemInfo::get_max_nbr_open_files())},
            {"locked_bytes", make_limit(SystemInfo::get_max_locked_len())},
            {"real_time_priority", make_limit(SystemInfo::get_max_rt_priority())}};
}

Json make_folders() {
    using sys::posix::Folders;
    std::error_code ignored;
    return {{"working", make_text(std::filesystem::current_path(ignored).string())},
            {"documents", Folders::get_documents()},
            {"desktop", Folders::get_desktop()},
            {"log", Folders::get_state()},
            {"preferences", Folders::get_preferences()},
            {"cache", Folders::get_cache()},
            {"temporary", Folders::get_temporary()}};
}

std::string print_value(Json const& val) {
    if (val.is_null()) {
        return "unknown";
    }
    if (val.is_string()) {
        return val.get<std::string>();
    }
    if (!val.is_array()) {
        return val.dump();
    }
    std::string txt;
    for (Json const& elt : val) {
        txt += (txt.empty() ? "" : ", ") + elt.get<std::string>();
    }
    return txt.empty() ? "none" : txt;
}

} // namespace

nlohmann::ordered_json Report::make(std::string const& bundle_path) {
    return {{"tessitone", make_program()}, {"bundle", make_bundle(bundle_path)},
            {"system", make_system()},     {"processor", make_processor()},
            {"routines", make_routines()}, {"limits", make_limits()},
            {"folders", make_folders()}};
}

std::string Report::print(nlohmann::ordered_json const& report) {
    constexpr size_t value_column = 22;
    std::string txt;
    for (auto const& [section_name, section] : report.items()) {
        txt += section_name + "\n";
        for (auto const& [name, val] : section.items()) {
            std::string label = "  " + name;
            std::replace(label.begin(), label.end(), '_', ' ');
            label.resize(std::max(value_column, label.size() + 1), ' ');
            txt += label + print_value(val) + "\n";
        }
    }
    return txt;
}

} // namespace ulk::host
