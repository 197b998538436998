#include "dmATimewarpSettings.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmATimewarpSettings>;

eDmErrorId DmATimewarpSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<Length>(L"length", _length, "The length that is played.", dmFrames)
        .mandatory<Ratio>(L"ratio", _ratio, "The ratio of the durations; 1 leaves the sound as it is.")
        .mandatory<Pitch>(L"pitch", _pitch, "The pitch; 1 leaves it as it is.")
        .mandatory<Rhythm>(L"rhythm", _rhythm, "The rhythm: a parameter of the renderer.")
        .mandatory<Quality>(L"quality", _quality, "The quality: a code of the renderer.")
        .status();
}
