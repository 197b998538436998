#include "dmEffect.h"

CoSharedPtr<DmEffectSettings> dmCreateEffect(const wchar_t* className)
{
    const DmPropertyFactory& factory = DmPropertyFactory::getInstance();
    const DmPropertyCreator creator = factory.findCreator(className);
    DmPropertySet* set = nullptr;
    eDmErrorId status = creator ? factory.createBare(creator, set) : DM_PROPERTY_NOT_FOUND;
    CoSharedPtr<DmEffectSettings> effect(static_cast<DmEffectSettings*>(set));
    if (status == DM_NO_ERROR)
        status = effect->createAttributes();
    return status == DM_NO_ERROR ? effect : CoSharedPtr<DmEffectSettings>();
}
