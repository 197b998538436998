#include "dmKeyFrame.h"

#include "dmDeclare.h"

DmKeyFrame::DmKeyFrame(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmKeyFrame>::data())
{
}

eDmErrorId DmKeyFrame::createList()
{
    return declare(*this)
        .mandatory<Frame>(L"frame", _frame, "Where the key stands.", dmFrames)
        .mandatory<Value>(L"value", _value, "The value at the key.")
        .mandatory<Mode>(L"interpMode", _interpMode, "How the curve goes on from the key: a code of the renderer.")
        .mandatory<Order>(L"interpOrder", _interpOrder, "The order of that curve: a code of the renderer.")
        .mandatory<RightHandleX>(L"rightHandleX", _rightHandleX, "The right handle, off the key in time.", dmFrames)
        .mandatory<RightHandleY>(L"rightHandleY", _rightHandleY, "The right handle, off the key in value.")
        .mandatory<LeftHandleX>(L"leftHandleX", _leftHandleX, "The left handle, off the key in time.", dmFrames)
        .mandatory<LeftHandleY>(L"leftHandleY", _leftHandleY, "The left handle, off the key in value.")
        .mandatory<BreakVelocity>(L"breakVel", _breakVel, "The velocities on the two sides are independent.")
        .mandatory<AutoRightVelocity>(L"autoRightVelocity", _autoRightVelocity,
                                      "The renderer computes the velocity on the right.")
        .mandatory<AutoLeftVelocity>(L"autoLeftVelocity", _autoLeftVelocity,
                                     "The renderer computes the velocity on the left.")
        .mandatory<BreakValue>(L"breakValue", _breakValue, "The value jumps at the key.")
        .mandatory<AutoPlateau>(L"autoPlateau", _autoPlateau, "The tangent is flat at extremes.")
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
