#include "dmPPFxStereoToolboxSettings.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmPPFxStereoToolboxSettings, DmPPFxSettings>;

eDmErrorId DmPPFxStereoToolboxSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<FWAligment>(
            L"FWAligment", _fwAligment,
            "How the floating window is aligned: a code of the renderer.") // misspelled in every document there is
        .status();
}
