#include "ui/error_report.h"
#include "device/qv/result.h"

juce::String describe_failure (std::exception_ptr failure)
{
    try
    {
        if (failure)
            std::rethrow_exception (failure);
    }
    catch (qv::os_result code)
    {
        return juce::String (qv::message (code));
    }
    catch (...)
    {
    }
    return juce::translate ("n/a");
}

void show_failure_box (const juce::String& message, juce::ModalComponentManager::Callback* closed)
{
    auto* app = juce::JUCEApplicationBase::getInstance();
    const auto name = app != nullptr ? app->getApplicationName() : juce::String (JUCE_APPLICATION_NAME_STRING);
    juce::AlertWindow::showOkCancelBox (juce::MessageBoxIconType::WarningIcon,
                                        name + " " + juce::translate ("Exception"),
                                        message, {}, {}, nullptr, closed);
}

void report_escaped_failure (std::exception_ptr failure)
{
    // While the box is up, an interface may go and its page be deleted: nothing of the
    // click may still be on the stack by then. The box does not run a modal loop of its
    // own, so the panel goes on serving the other interfaces while it is shown.
    const auto message = describe_failure (failure);
    juce::MessageManager::callAsync ([message] {
        show_failure_box (message, juce::ModalCallbackFunction::create ([] (int) {}));
    });
}
