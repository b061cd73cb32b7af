#include "host/Bundle.h"

#include "host/DescribeCommand.h"
#include "host/Description.h"
#include "host/Error.h"
#include "host/Log.h"
#include "host/PluginError.h"
#include "ulk/ace/Err.h"
#include "ulk/archi/types.h"
#include "ulk/kryn/Component.h"

#include <filesystem>

namespace ulk::host {

namespace {

constexpr int cmd_create_factory = 1;
constexpr int cmd_install_log = 2;
using EntryPoint = archi::Int32(archi::Int32 cmd, void* data);

std::shared_ptr<sys::SharedLibrary const> load(std::string const& path) {
    if (!std::filesystem::is_regular_file(path)) {
        throw Error(Error::Kind_MATERIAL, path + ": no such bundle");
    }
    try {
        // An absolute path: a bare name would be searched for among the system's libraries.
        return std::make_shared<sys::SharedLibrary const>(std::filesystem::absolute(path).string());
    } catch (std::runtime_error const& e) {
        throw Error(Error::Kind_MATERIAL, path + ": the bundle does not load: " + e.what());
    }
}

int refuse_command(pibase::BidirComPoint*, int, void*) {
    return ace::Err_NOT_IMPLEMENTED;
}

} // namespace

Bundle::Bundle(std::string const& path, CommandTap* tap, LogFnc* log)
    : _path(path)
    , _tap(tap)
    , _library(load(path))
    , _com{&refuse_command, nullptr, this, nullptr} {
    auto* const entry_point = _library->find<EntryPoint>("ulk_entry_point");
    if (entry_point == nullptr) {
        throw Error(Error::Kind_MATERIAL, path + ": no bundle: it exports no ulk_entry_point");
    }
    if (log != nullptr) {
        entry_point(cmd_install_log, reinterpret_cast<void*>(log));
    }
    pibase::BidirComPoint* com = &_com;
    int const ret = entry_point(cmd_create_factory, &com);
    if (ret != ace::Err_OK) {
        throw PluginError(path, "creating the factory", ret);
    }
    if (_com.plugin_execute == nullptr) {
        throw Error(Error::Kind_MATERIAL, path + ": the bundle created no factory");
    }
}

Bundle::~Bundle() {
    send(kryn::Component::Cmd::DESTROY, nullptr);
}

std::vector<unsigned char> Bundle::describe() {
    return DescribeCommand::run(_com, _path, _tap);
}

std::vector<std::string> Bundle::list_plugins() {
    auto const doc = describe();
    Description const desc({reinterpret_cast<char const*>(doc.data()), doc.size()}, _path);
    auto const& plugin_list = desc.use_plugin_list();
    std::vector<std::string> list;
    for (int index = 0; index < plugin_list.get_nbr_plugins(); ++index) {
        list.push_back(plugin_list.get_plug_id(index));
    }
    return list;
}

std::unique_ptr<Plugin> Bundle::instantiate(std::string const& id, HostInterface* host) {
    try {
        return std::make_unique<Plugin>(_library, _com, id, host, _tap);
    } catch (PluginError const& e) {
        if (e.get_code() != ace::Err_NOT_FOUND) {
            throw;
        }
        std::string text = id + ": no such plug-in in " + _path + "; it has";
        for (auto const& known : list_plugins()) {
            text += "\n  " + known;
        }
        throw Error(Error::Kind_USE, text);
    }
}

} // namespace ulk::host
