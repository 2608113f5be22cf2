// Figures for the panel with interfaces on USB, emulated with umockdev (run it under
// umockdev-wrapper): the real libusb and libudev in the same container the program
// builds, the device model answering. A click to the block written and every control
// refreshed, and udev's add event to the tab. Prints figures; asserts nothing.
#include "app/skin_root.h"
#include "bench/bench_support.h"
#include "tests/support/virtual_interface.h"
#include "tests/usb/emulated_usb.h"

using namespace bench;

int main()
{
    juce::JUCEApplicationBase::createInstance = [] () -> juce::JUCEApplicationBase* { return nullptr; };
    juce::ScopedJuceInitialiser_GUI juce;
    auto root = parse_skin();
    temporary_bus bus; // no virtual interface
    emulated_usb usb;

    {
        auto& clicked = usb.plug ("1.1.1", test_vendor, test_product, false);
        container tabs (*root);
        time_clicks (tabs, "click over USB to block written and all 12 controls refreshed");
        usb.unplug (clicked);
    }
    container tabs (*root);
    emulated_device* plugged = nullptr;
    time_plug_ins (
        tabs, [&] { plugged = &usb.plug(); }, [] { return true; }, [&] { usb.unplug (*plugged); }, "udev's add event sent");
    std::printf ("resident memory at the end: %ld KB (the emulation included)\n", resident_kb());
    return 0;
}
