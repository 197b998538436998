/// One key of an animation channel: a value at a time, and how the curve passes through it. Times are frames of the
/// effect's own time, handles are offsets from the key. Nothing here evaluates the curve: the codes are the renderer's
/// and are carried as they are.
///
///     auto key = DmKeyFrame::create2(12.0F, 0.5F, {}, DmKeyFrame::InterpOrder{1}, 4.0F, 0.0F, -4.0F, 0.0F,
///                                    DmKeyFrame::AutoRightVelocityFlag | DmKeyFrame::AutoLeftVelocityFlag);
#pragma once

#include "dmPropertySetInit.h"

class ZR_DM_API DmKeyFrame final : public DmConcrete<DmKeyFrame>
{
public:
    enum Property : int
    {
        Frame,
        Value,
        Mode,
        Order,
        RightHandleX,
        RightHandleY,
        LeftHandleX,
        LeftHandleY,
        BreakVelocity,
        AutoRightVelocity,
        AutoLeftVelocity,
        BreakValue,
        AutoPlateau,
        PropertyCount
    };

    enum InterpMode : int
    {
    };
    enum InterpOrder : int
    {
    };

    /// Format of the keys of a channel.
    static constexpr float DM_KEY_VERSION_1 = 1.0F;
    static constexpr float DM_KEY_VERSION_2 = 2.0F;
    static constexpr float DM_KEY_CUR_VERSION = DM_KEY_VERSION_2;
    static constexpr float getCurrentVersion() { return DM_KEY_CUR_VERSION; }

    /// The bits of create2's flags; others are ignored. The gap between bits 2 and 7 is part of the contract.
    enum Flag : unsigned
    {
        BreakVelocityFlag = 0x1,
        AutoRightVelocityFlag = 0x2,
        AutoLeftVelocityFlag = 0x4,
        BreakValueFlag = 0x80,
        AutoPlateauFlag = 0x100
    };

    explicit DmKeyFrame(const DmNodeId& id);
    eDmErrorId createList() override;

    /// A key with all its fields. Null when the factory fails.
    static CoSharedPtr<DmKeyFrame> create2(float frame, float value, InterpMode mode, InterpOrder order, float rightDX,
                                           float rightDY, float leftDX, float leftDY, unsigned flags);

    float getFrame() const { return _frame; }
    eDmErrorId setFrame(float frame) { return set(Frame, frame); }
    float getValue() const { return _value; }
    eDmErrorId setValue(float value) { return set(Value, value); }
    InterpMode getInterpMode() const { return static_cast<InterpMode>(_interpMode); }
    eDmErrorId setInterpMode(InterpMode mode) { return set(Mode, static_cast<int>(mode)); }
    InterpOrder getInterpOrder() const { return static_cast<InterpOrder>(_interpOrder); }
    eDmErrorId setInterpOrder(InterpOrder order) { return set(Order, static_cast<int>(order)); }

    /// Tangent handles: offsets from the key, in frames (DX) and in the channel's unit (DY).
    float getRightHandleDX() const { return _rightHandleX; }
    eDmErrorId setRightHandleDX(float frames) { return set(RightHandleX, frames); }
    float getRightHandleDY() const { return _rightHandleY; }
    eDmErrorId setRightHandleDY(float value) { return set(RightHandleY, value); }
    float getLeftHandleDX() const { return _leftHandleX; }
    eDmErrorId setLeftHandleDX(float frames) { return set(LeftHandleX, frames); }
    float getLeftHandleDY() const { return _leftHandleY; }
    eDmErrorId setLeftHandleDY(float value) { return set(LeftHandleY, value); }

    /// Left and right velocities are independent.
    bool getBreakVel() const { return _breakVel; }
    eDmErrorId setBreakVel(bool on) { return set(BreakVelocity, on); }
    /// The velocity is computed by the renderer.
    bool getAutoRightVel() const { return _autoRightVelocity; }
    eDmErrorId setAutoRightVel(bool on) { return set(AutoRightVelocity, on); }
    bool getAutoLeftVel() const { return _autoLeftVelocity; }
    eDmErrorId setAutoLeftVel(bool on) { return set(AutoLeftVelocity, on); }
    /// The value jumps at the key.
    bool getBreakValue() const { return _breakValue; }
    eDmErrorId setBreakValue(bool on) { return set(BreakValue, on); }
    /// The tangent is flat at extremes.
    bool getPlateauVel() const { return _autoPlateau; }
    eDmErrorId setPlateauVel(bool on) { return set(AutoPlateau, on); }

private:
    // In the order that packs: curves of thousands of keys are normal.
    float _frame = 0;
    float _value = 0;
    int _interpMode = 0;
    int _interpOrder = 1;
    float _rightHandleX = 0;
    float _rightHandleY = 0;
    float _leftHandleX = 0;
    float _leftHandleY = 0;
    bool _breakVel = false;
    bool _autoRightVelocity = true;
    bool _autoLeftVelocity = true;
    bool _breakValue = false;
    bool _autoPlateau = false;
};
