#include "dmChannel.h"

#include "dmDeclare.h"

static const DmPropertySetInit<DmSimpleChannel> registration;

DmChannel::DmChannel(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData)
    : DmPropertySet(id, classData)
{
}

eDmErrorId DmChannel::createList()
{
    return declare(*this).mandatory(L"name", _name).status();
}

DmSimpleChannel::DmSimpleChannel(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmSimpleChannel>::data())
{
}

eDmErrorId DmSimpleChannel::createList()
{
    return declare(*this, DmChannel::createList()).mandatory(L"value", _value).status();
}

CoSharedPtr<DmSimpleChannel> DmSimpleChannel::create(const DmString& value)
{
    CoSharedPtr<DmSimpleChannel> channel = dmCreate<DmSimpleChannel>();
    if (channel && channel->setValue(value) != DM_NO_ERROR)
        channel.reset();
    return channel;
}
