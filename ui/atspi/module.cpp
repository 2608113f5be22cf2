// The bridge module's entry points, found by name by the loader in the panel.
#include "ui/atspi/bridge.h"

extern "C" __attribute__ ((visibility ("default"))) void* kelto_veltrano_atspi_start()
{
    return atspi::bridge::start().release();
}

extern "C" __attribute__ ((visibility ("default"))) void kelto_veltrano_atspi_stop (void* running)
{
    delete static_cast<atspi::bridge*> (running);
}
