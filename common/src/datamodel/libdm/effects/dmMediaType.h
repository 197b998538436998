/// What a layer, a track, a segment, a transition or an effect is made of. Things hold only things of their own kind.
#pragma once

enum eDmTreeMediaType : int
{
    DM_MEDIA_UNDEFINED = 0,
    DM_MEDIA_VIDEO = 1,
    DM_MEDIA_AUDIO = 2
};

/// As messages spell it; "undefined" for every value that is neither video nor audio.
constexpr const char* dmMediaTypeText(eDmTreeMediaType type)
{
    return type == DM_MEDIA_VIDEO ? "video" : type == DM_MEDIA_AUDIO ? "audio" : "undefined";
}
