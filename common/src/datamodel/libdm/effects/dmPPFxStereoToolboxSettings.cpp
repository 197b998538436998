#include "dmPPFxStereoToolboxSettings.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmPPFxStereoToolboxSettings, DmPPFxSettings>;

eDmErrorId DmPPFxStereoToolboxSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory(L"FWAligment", _fwAligment) // misspelled in every document there is
        .status();
}
