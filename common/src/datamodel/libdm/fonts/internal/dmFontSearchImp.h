/// Where fonts are found: as files, and among those that the system has installed. The latter only when built with
/// fontconfig.
#pragma once

#include "dmString.h"

/// A font as titles name it.
struct DmFontFace
{
    const DmString& name;  ///< a family, a PostScript name or a full name; blanks and case do not count in a family
    const DmString& style; ///< as fonts may call it; empty for none
    bool bold;
    bool italic;
};

bool dmIsFontFile(const DmString& path);
/// The path of its file; empty when no installed font has the name. Callers wait for each other.
DmString dmFindInstalledFont(const DmFontFace& face);
