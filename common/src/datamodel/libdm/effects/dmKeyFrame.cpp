#include "dmKeyFrame.h"

#include "dmDeclare.h"

static const DmPropertySetInit<DmKeyFrame> registration;

DmKeyFrame::DmKeyFrame(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmKeyFrame>::data())
{
}

eDmErrorId DmKeyFrame::createList()
{
    return declare(*this)
        .mandatory(L"frame", _frame)
        .mandatory(L"value", _value)
        .mandatory(L"interpMode", _interpMode)
        .mandatory(L"interpOrder", _interpOrder)
        .mandatory(L"rightHandleX", _rightHandleX)
        .mandatory(L"rightHandleY", _rightHandleY)
        .mandatory(L"leftHandleX", _leftHandleX)
        .mandatory(L"leftHandleY", _leftHandleY)
        .mandatory(L"breakVel", _breakVel)
        .mandatory(L"autoRightVelocity", _autoRightVelocity)
        .mandatory(L"autoLeftVelocity", _autoLeftVelocity)
        .mandatory(L"breakValue", _breakValue)
        .mandatory(L"autoPlateau", _autoPlateau)
        .status();
}

CoSharedPtr<DmKeyFrame> DmKeyFrame::create2(float frame, float value, InterpMode mode, InterpOrder order, float rightDX,
                                            float rightDY, float leftDX, float leftDY, unsigned flags)
{
    CoSharedPtr<DmKeyFrame> key = dmCreate<DmKeyFrame>();
    if (!key)
        return key;
    // Filled in place: nobody else knows the key yet, so thirteen locked stores would protect nothing.
    key->_value = value;
    key->_interpMode = mode;
    key->_interpOrder = order;
    key->_rightHandleX = rightDX;
    key->_rightHandleY = rightDY;
    key->_leftHandleX = leftDX;
    key->_leftHandleY = leftDY;
    key->_breakVel = flags & BreakVelocityFlag;
    key->_autoRightVelocity = flags & AutoRightVelocityFlag;
    key->_autoLeftVelocity = flags & AutoLeftVelocityFlag;
    key->_breakValue = flags & BreakValueFlag;
    key->_autoPlateau = flags & AutoPlateauFlag;
    // One through the property layer: the key is dirty, as after any change of a property.
    if (key->setFrame(frame) != DM_NO_ERROR)
        key.reset();
    return key;
}
