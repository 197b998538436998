#include "dmChannel.h"

#include "dmDeclare.h"

DmChannel::DmChannel(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData)
    : DmPropertySet(id, classData)
{
}

eDmErrorId DmChannel::createList()
{
    return declare(*this).mandatory<Name>(L"name", _name, "The key of the parameter in its effect.").status();
}

DmSimpleChannel::DmSimpleChannel(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmSimpleChannel>::data())
{
}

eDmErrorId DmSimpleChannel::createList()
{
    return declare(*this, DmChannel::createList()).mandatory<Value>(L"value", _value, "The value, as text.").status();
}

CoSharedPtr<DmSimpleChannel> DmSimpleChannel::create(const DmString& value)
{
    CoSharedPtr<DmSimpleChannel> channel = dmCreate<DmSimpleChannel>();
    if (channel && channel->setValue(value) != DM_NO_ERROR)
        channel.reset();
    return channel;
}
