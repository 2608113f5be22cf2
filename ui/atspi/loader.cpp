#include "ui/atspi/loader.h"
#include "skin/program_folder.h"

#include <dlfcn.h>
#include <sys/stat.h>

namespace
{
    const char* const module_name = "kelto-veltrano-atspi.so";

    bool is_socket (const juce::String& path)
    {
        struct stat s {};
        return stat (path.toRawUTF8(), &s) == 0 && S_ISSOCK (s.st_mode);
    }

    bool set (const char* value) { return value != nullptr && *value != 0; }
}

bool atspi::loaded_bridge::wanted (const char* no_at_bridge, const char* session_bus, const char* runtime_dir)
{
    if (set (no_at_bridge))
        return false;
    if (set (session_bus))
        return true;
    // D-Bus's own default for a session without the variable.
    return set (runtime_dir) && is_socket (juce::String (runtime_dir) + "/bus");
}

juce::StringArray atspi::loaded_bridge::module_paths (const juce::String& folder)
{
    return { folder + module_name, folder + "../lib/kelto-veltrano/" + module_name };
}

std::unique_ptr<atspi::loaded_bridge> atspi::loaded_bridge::load()
{
    if (! wanted (getenv ("NO_AT_BRIDGE"), getenv ("DBUS_SESSION_BUS_ADDRESS"), getenv ("XDG_RUNTIME_DIR")))
        return nullptr;
    for (auto& path : module_paths (program_folder()))
    {
        // Never closed: the types it gives GLib cannot be taken back.
        auto* module = dlopen (path.toRawUTF8(), RTLD_NOW | RTLD_LOCAL);
        if (module == nullptr)
            continue;
        auto start = reinterpret_cast<void* (*)()> (dlsym (module, "kelto_veltrano_atspi_start"));
        auto stop = reinterpret_cast<stop_function> (dlsym (module, "kelto_veltrano_atspi_stop"));
        if (start == nullptr || stop == nullptr)
            return nullptr;
        auto* running = start();
        return running != nullptr ? std::unique_ptr<loaded_bridge> (new loaded_bridge (running, stop)) : nullptr;
    }
    return nullptr;
}

atspi::loaded_bridge::~loaded_bridge() { stop (running); }
