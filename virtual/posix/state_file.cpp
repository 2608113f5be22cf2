#include "state_file.h"

#include <cstdio>
#include <unistd.h>

std::string version_text (uint32_t word)
{
    return std::to_string ((word >> 24) & 0xFF) + "." + std::to_string ((word >> 16) & 0xFF) + "."
         + std::to_string ((word >> 8) & 0xFF);
}

bool write_state_file (const std::string& path, const std::string& name, const std::string& socket_path,
                       const vv_model& model)
{
    std::string text = "name " + name + "\npath " + socket_path + "\nfirmware "
                     + std::to_string (model.firmware[0]) + "." + std::to_string (model.firmware[1]) + "."
                     + std::to_string (model.firmware[2]) + "\ndriver " + version_text (model.driver_version)
                     + "\nblock";
    for (auto byte : model.block)
        text += " " + std::to_string (byte);
    text += "\nrequests " + std::to_string (model.answered) + "\n";

    const std::string temporary = path + ".tmp";
    FILE* file = std::fopen (temporary.c_str(), "w");
    if (file == nullptr)
        return false;
    const bool written = std::fwrite (text.data(), 1, text.size(), file) == text.size();
    const bool closed = std::fclose (file) == 0;
    if (! written || ! closed)
    {
        ::unlink (temporary.c_str());
        return false;
    }
    return std::rename (temporary.c_str(), path.c_str()) == 0;
}
