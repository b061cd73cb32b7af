#pragma once

#include "host/CommandTap.h"
#include "host/HostInterface.h"
#include "host/Log.h"
#include "host/Plugin.h"
#include "ulk/pibase/BidirComPoint.h"
#include "ulk/sys/SharedLibrary.h"

#include <memory>
#include <string>
#include <vector>

namespace ulk::host {

// A loaded bundle and its factory. Control side. Instances keep the library loaded and may outlive
// the Bundle.
class Bundle {
public:
    using LogFnc = int(int cmd, void* data);

    // tap: sees all commands, may be null, outlives the bundle and its instances. log: takes the
    // log lines; null leaves them to the bundle. Throws an Error that names the file: not found,
    // not loadable, no bundle, no factory.
    explicit Bundle(std::string const& path, CommandTap* tap = nullptr,
                    LogFnc* log = &Log::receive);
    ~Bundle();

    Bundle(Bundle const&) = delete;
    Bundle& operator=(Bundle const&) = delete;

    std::string const& get_path() const { return _path; }

    // Any command to the factory, for tools. The result is the code.
    int send(int cmd, void* data) { return CommandTap::execute(_tap, _com, cmd, data); }

    // The factory's description document.
    std::vector<unsigned char> describe();
    // Identifiers of the plug-ins that the factory offers, in its order. Throws an Error.
    std::vector<std::string> list_plugins();

    // Throws an Error with the list of the known identifiers when id is unknown.
    std::unique_ptr<Plugin> instantiate(std::string const& id, HostInterface* host = nullptr);

private:
    std::string _path;
    CommandTap* _tap;
    std::shared_ptr<sys::SharedLibrary const> _library;
    pibase::BidirComPoint _com;
};

} // namespace ulk::host
