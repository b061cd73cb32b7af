#include "host/Bundle.h"

#include "host/Error.h"
#include "host/Log.h"
#include "host/PluginError.h"
#include "ulk/ace/Constants.h"
#include "ulk/ace/Err.h"
#include "ulk/archi/types.h"
#include "ulk/kryn/Component.h"
#include "ulk/kryn/PluginFactory.h"

#include <algorithm>
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

Bundle::Bundle(std::string const& path)
    : _path(path)
    , _library(load(path))
    , _com{&refuse_command, nullptr, this, nullptr} {
    auto* const entry_point = _library->find<EntryPoint>("ulk_entry_point");
    if (entry_point == nullptr) {
        throw Error(Error::Kind_MATERIAL, path + ": no bundle: it exports no ulk_entry_point");
    }
    entry_point(cmd_install_log, reinterpret_cast<void*>(&Log::receive));
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
    _com.plugin_execute(&_com, kryn::Component::Cmd::DESTROY, nullptr);
}

bool Bundle::can_instantiate(std::string const& id) {
    Log::Quiet const quiet;
    pibase::BidirComPoint com = {&refuse_command, nullptr, nullptr, nullptr};
    kryn::PluginFactory::CmdFact::Instantiate rec = {id.c_str(), &com};
    int const cmd = kryn::PluginFactory::CmdFact::INSTANTIATE;
    if (_com.plugin_execute(&_com, cmd, &rec) != ace::Err_OK) {
        return false;
    }
    com.plugin_execute(&com, kryn::Component::Cmd::DESTROY, nullptr);
    return true;
}

std::vector<std::string> Bundle::list_plugins() {
    std::vector<std::string> list = {
        ace::Constants::PLUGIN_ID_AUDIO_INPUT, ace::Constants::PLUGIN_ID_AUDIO_OUTPUT,
        ace::Constants::PLUGIN_ID_TAPE, ace::Constants::PLUGIN_ID_BYPASS,
        ace::Constants::PLUGIN_ID_DRYWET};
    std::erase_if(list, [this](std::string const& id) { return !can_instantiate(id); });
    return list;
}

std::unique_ptr<Plugin> Bundle::instantiate(std::string const& id, HostInterface* host) {
    try {
        return std::make_unique<Plugin>(_library, _com, id, host);
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
