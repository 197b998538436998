/// Frame-code modes as the options of subcommands name them.
#pragma once

#include "tuFcm.h"

#include <string>

namespace dmtree
{

/// The names of all modes, in quotes.
std::string modeNames();
/// What --help says about them.
std::string modeHelp();
/// Empty for a name of a mode or a short form of one, else what is wrong with it: a validator of options.
std::string checkMode(const std::string& name);
/// The mode; FCM_NOT_DEFINED for the empty text, an option that was not given.
DM::FrameCodeModes modeOf(const std::string& name);
/// What is wrong with ZR_DEFAULT_FCM, in a sentence; empty when it names a mode or is not set.
std::string wrongDefaultMode();
/// The mode of an option or, where it was not given, of ZR_DEFAULT_FCM. Throws when neither names one, and says which.
DM::FrameCodeModes modeOrDefaultOf(const std::string& name);

} // namespace dmtree
