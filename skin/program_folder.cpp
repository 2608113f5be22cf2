#include "skin/program_folder.h"

const juce::String& program_folder()
{
    static const juce::String folder = []
    {
        auto path = juce::File::getSpecialLocation (juce::File::currentExecutableFile)
                        .getParentDirectory().getFullPathName();
        if (! path.endsWithChar (juce::File::getSeparatorChar()))
            path += juce::File::getSeparatorString();
        return path;
    }();
    return folder;
}
