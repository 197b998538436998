/// What the tests of effects share.
#pragma once

#include "zrTest.h"

/// A set as the property layer stores it.
template <class T>
DmPropertySetPtr stored(const CoSharedPtr<T>& set)
{
    return set;
}

/// Remembers the names of the properties that changed.
class ChangeLog : public DmPropertyListener
{
public:
    explicit ChangeLog(DmPropertySet& set)
        : _set(set)
    {
        EXPECT_EQ(_set.registerListener(this), DM_NO_ERROR);
    }
    ~ChangeLog() override { EXPECT_EQ(_set.unregisterListener(this), DM_NO_ERROR); }

    void onPropertyChanged(const DmNodeId& /*id*/, eDmPropType /*type*/, const DmString& propertyName) override
    {
        changes.emplace_back(propertyName.view());
    }

    std::vector<std::wstring> changes;

private:
    DmPropertySet& _set;
};

/// Everything that a set holds, in any depth, itself not included.
inline void gatherHeld(const DmPropertySet& set, std::set<const DmPropertySet*>& held)
{
    dmForEachHeld(set,
                  [&](const DmPropertySetPtr& element)
                  {
                      if (held.insert(element.get()).second)
                          gatherHeld(*element, held);
                      return true;
                  });
}

inline std::vector<const DmPropertySet*> heldByBoth(const DmPropertySet& a, const DmPropertySet& b)
{
    std::set<const DmPropertySet*> ofA;
    std::set<const DmPropertySet*> ofB;
    gatherHeld(a, ofA);
    gatherHeld(b, ofB);
    std::vector<const DmPropertySet*> both;
    std::set_intersection(ofA.begin(), ofA.end(), ofB.begin(), ofB.end(), std::back_inserter(both));
    return both;
}

/// The path of the first difference, empty when two sets are deeply equal.
inline std::string difference(const DmPropertySet& a, const DmPropertySet& b)
{
    bool equal = false;
    std::string path;
    EXPECT_EQ(dmDeepEqual(a, b, equal, &path), DM_NO_ERROR);
    return equal ? "" : path.empty() ? "(class)" : path;
}

/// The text of a property, empty where it has none.
inline std::string valueText(const DmPropertySet& set, int index)
{
    DmString text;
    const eDmErrorId status = set.getStrFromPropertyValue(index, set.classData().at(index)->_type, text, nullptr);
    return status == DM_NO_ERROR ? dmUtf8(text) : "";
}

/// A key frame at a frame, with the value that many times ten.
inline CoSharedPtr<DmKeyFrame> key(float frame)
{
    return DmKeyFrame::create2(frame, frame * 10, {}, DmKeyFrame::InterpOrder{1}, 0, 0, 0, 0, 0);
}
