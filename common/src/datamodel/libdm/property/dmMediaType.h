/// What a layer, a track, a segment, a transition or an effect is made of. Things hold only things of their own kind.
#pragma once

#include "dmPropertyDef.h"

enum eDmTreeMediaType : int
{
    DM_MEDIA_UNDEFINED = 0,
    DM_MEDIA_VIDEO = 1,
    DM_MEDIA_AUDIO = 2
};

/// With the texts that messages use.
inline constexpr DmNamedValue dmMediaTypes[] = {{DM_MEDIA_UNDEFINED, "DM_MEDIA_UNDEFINED", "undefined"},
                                                {DM_MEDIA_VIDEO, "DM_MEDIA_VIDEO", "video"},
                                                {DM_MEDIA_AUDIO, "DM_MEDIA_AUDIO", "audio"}};

/// As messages spell it; "undefined" for every value that is neither video nor audio.
constexpr const char* dmMediaTypeText(eDmTreeMediaType type)
{
    return dmMediaTypes[type == DM_MEDIA_VIDEO || type == DM_MEDIA_AUDIO ? type : DM_MEDIA_UNDEFINED].text;
}
