#include "samples.h"

#include "dmPropertyFactory.h"

namespace dmtree
{

DmPropertySetPtr sampleOf(const DmString& className)
{
    const DmPropertyFactory& factory = DmPropertyFactory::getInstance();
    const DmPropertyCreator creator = factory.findCreator(className.view());
    DmPropertySet* made = nullptr;
    const eDmErrorId status = creator ? factory.createBare(creator, made) : DM_PROPERTY_NOT_FOUND;
    const DmPropertySetPtr sample(made);
    return status == DM_NO_ERROR ? sample : DmPropertySetPtr();
}

} // namespace dmtree
