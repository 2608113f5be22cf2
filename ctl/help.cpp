#include "ctl/help.h"
#include "ctl/value_parsing.h"

namespace ctl
{
std::string help_text (const std::vector<control>& controls)
{
    std::string text = R"(Usage: veltrano-ctl [--json] list
       veltrano-ctl [--json] [--interface N|PATH] show
       veltrano-ctl [--interface N|PATH] set NAME=VALUE...
       veltrano-ctl --help | --version

Lists, shows and sets the controls of the connected Kelto Veltrano interfaces, the
ones the control panel sees. An interface that the panel has open is busy.

  list        one line per interface: number, firmware, driver, path
  show        every control: name, value, byte index, raw byte, tooltip
  set         changes the named controls in one read and write of the block,
              then prints "name: old -> new" for each
  --json      list and show as one JSON document
  --interface the interface by its number from list or its path; needed when
              more than one is connected

A value is one of the control's words (letter case and blanks do not count) or
its byte as a number; "#N" is always the byte N.

Controls and their values:
)";
    for (const auto& c : controls)
        text += "  " + c.name + ": " + accepted_values (c) + "\n";
    text += R"(
Exit status: 0 done; 1 an interface failed (busy, gone, timed out, refused) or
none is connected; 2 bad input, and nothing was written.
)";
    return text;
}
} // namespace ctl
