#include "host/Bundle.h"
#include "host/Description.h"
#include "host/Error.h"
#include "host/PluginError.h"
#include "tessitone/Commands.h"
#include "tessitone/JsonText.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

namespace tessitone {

namespace {

using Json = nlohmann::ordered_json;
using ulk::host::Description;
using ulk::host::Error;

struct Settings {
    std::string plug_id;
    std::string from_path;
    std::string format = "text";
    std::string out_path;
};

// A description, and the values of its parameters when there is an instance to ask.
struct Subject {
    std::unique_ptr<Description> desc;
    std::unique_ptr<ulk::host::Plugin> plugin;
};

std::string read_file(std::string const& path) {
    std::string data;
    std::ifstream file(path, std::ios::binary);
    if (file.is_open() && !std::filesystem::is_directory(path)) {
        data.assign(std::istreambuf_iterator<char>(file), {});
    }
    if (file.bad() || data.empty()) {
        throw Error(Error::Kind_MATERIAL, path + ": cannot be read, or is empty");
    }
    return data;
}

Subject make_subject(Context const& context, Settings const& settings) {
    Subject subject;
    std::string data;
    std::string name = settings.from_path;
    if (!settings.from_path.empty()) {
        data = read_file(settings.from_path);
    } else {
        ulk::host::Bundle bundle(context.find_bundle());
        name = settings.plug_id.empty() ? bundle.get_path() : settings.plug_id;
        std::vector<unsigned char> doc;
        if (settings.plug_id.empty()) {
            doc = bundle.describe();
        } else {
            subject.plugin = bundle.instantiate(settings.plug_id);
            doc = subject.plugin->describe();
        }
        data.assign(doc.begin(), doc.end());
    }
    if (data.empty()) {
        throw Error(Error::Kind_MATERIAL, name + ": has no description");
    }
    subject.desc = std::make_unique<Description>(data, name);
    return subject;
}

// The document does not tell where its parameters stand at the start: the instance does.
void add_defaults(Json& json, ulk::host::Plugin& plugin) {
    plugin.init();
    plugin.clear_buffers(); // at the defaults at once, not on the way to them
    for (Json& param : json["parameters"]["global"]) {
        try {
            kryn::ParamLocation const loc = {kryn::ParamScope_GLOBAL, 0, param["index"].get<int>()};
            double const val = plugin.get_param_val(loc);
            param["default"] = val;
            param["default_txt"] = plugin.conv_param_to_str(loc, val);
        } catch (ulk::host::PluginError const&) {
            // a parameter that can't be asked for
        }
    }
}

std::string render(Subject const& subject, std::string const& format) {
    if (format == "bin") {
        return subject.desc->conv_to_bin();
    }
    if (format == "xml") {
        return subject.desc->conv_to_xml();
    }
    Json json = subject.desc->conv_to_json();
    if (subject.plugin != nullptr &&
        subject.desc->use_param_list().get_nbr_param(kryn::ParamScope_GLOBAL) > 0) {
        add_defaults(json, *subject.plugin);
    }
    return format == "json" ? print_json(json) : Description::print(json);
}

void write(std::string const& txt, std::string const& path) {
    if (path.empty()) {
        std::fwrite(txt.data(), 1, txt.size(), stdout);
        return;
    }
    std::ofstream file(path, std::ios::binary);
    file << txt;
    file.close();
    if (!file) {
        throw Error(Error::Kind_IO, path + ": cannot be written");
    }
}

} // namespace

void add_describe_command(CLI::App& app, Context& context) {
    CLI::App* const command =
        app.add_subcommand("describe", "Show the description of a bundle or of one plug-in");
    auto const settings = std::make_shared<Settings>();
    add_bundle_option(*command, context);
    auto* const id = command->add_option("id", settings->plug_id,
                                         "Identifier of the plug-in; none for the plug-in list");
    id->type_name("ID");
    command->add_option("--from", settings->from_path, "Read a saved document of either form")
        ->type_name("FILE")
        ->excludes(id);
    command->add_option("--format", settings->format, "Form of the output")
        ->check(CLI::IsMember({"text", "json", "xml", "bin"}))
        ->capture_default_str();
    command->add_option("-o", settings->out_path, "File to write, instead of standard output")
        ->type_name("FILE");
    command->callback([&context, settings] {
        write(render(make_subject(context, *settings), settings->format), settings->out_path);
    });
}

} // namespace tessitone
