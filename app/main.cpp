#include "app/application.h"

START_JUCE_APPLICATION (application)
