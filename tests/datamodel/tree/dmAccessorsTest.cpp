/// Every pair of a typed getter and setter: the setter changes the property of its enumerator and no other, tells
/// listeners once, and the getter gives what was set. The pairs are found in the headers (accessors.py).
#include "zrTest.h"

namespace
{

template <class T>
void change(T& value)
{
    if constexpr (std::is_same_v<T, DmString>)
        value += L"Été";
    else if constexpr (std::is_same_v<T, std::vector<DmString>>)
        value.insert(value.end(), {DmString(L"a"), DmString()});
    else if constexpr (std::is_same_v<T, bool>)
        value = !value;
    else if constexpr (std::is_enum_v<T>)
        value = static_cast<T>(value == 1 ? 2 : 1);
    else
        value = static_cast<T>(value == 42 ? 43 : 42);
}

class Changes : public DmPropertyListener
{
public:
    void onPropertyChanged(const DmNodeId& /*id*/, eDmPropType /*type*/, const DmString& propertyName) override
    {
        properties.emplace_back(propertyName.view());
    }
    std::vector<std::wstring> properties;
};

template <class Class, class Setter, class Argument, class Getter>
void check(const CoSharedPtr<Class>& set, int index, eDmErrorId (Setter::*setter)(Argument), Getter getter)
{
    ASSERT_TRUE(set);
    using Value = std::remove_cvref_t<Argument>;
    const auto get = [&]
    {
        Value value{};
        if constexpr (std::is_invocable_v<Getter, Class&, Value&>) // it gives its value through its argument
            ((*set).*getter)(value);
        else
            value = static_cast<Value>(((*set).*getter)());
        return value;
    };
    Changes changes;
    EXPECT_EQ(set->registerListener(&changes), DM_NO_ERROR);
    Value value = get();
    change(value);
    EXPECT_EQ(((*set).*setter)(value), DM_NO_ERROR);
    EXPECT_EQ(changes.properties, std::vector<std::wstring>{set->classData().at(index)->_name.c_str()});
    EXPECT_TRUE(get() == value);
    EXPECT_EQ(set->unregisterListener(&changes), DM_NO_ERROR);
}

} // namespace

TEST(Accessors, OfEachPropertyReachItAndNoOther)
{
    int pairs = 0;
#define ACCESSOR(Made, Class, enumerator, setter, getter)                                                              \
    {                                                                                                                  \
        SCOPED_TRACE(#Class "::" #setter);                                                                             \
        check(dmCreate<Made>(), Class::enumerator, &Class::setter, &Class::getter);                                    \
        ++pairs;                                                                                                       \
    }
#include "accessors.inc"
    EXPECT_GT(pairs, 300);
}
