#include "dmPPFxSettings.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmPPFxSettings>;
template class DmEffect<DmPPFxCCSettings, DmPPFxSettings>;
template class DmEffect<DmPPFxCWSettings, DmPPFxSettings>;
template class DmEffect<DmPPFxCompSettings, DmPPFxSettings>;
