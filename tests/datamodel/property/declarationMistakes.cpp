// Compiled with a mistake at a time.
#include <ZRdmtree.h>

class Declared final : public DmConcrete<Declared>
{
public:
    enum Property : int
    {
        First,
        Second,
        PropertyCount
    };

    explicit Declared(const DmNodeId& id)
        : DmConcrete(id, DmPropertySetInit<Declared>::data())
    {
    }
    eDmErrorId createList() override
    {
#if defined(ZR_AnotherOrder)
        return declare(*this).mandatory<Second>(L"second", _second).mandatory<First>(L"first", _first).status();
#elif defined(ZR_ALineTooFew)
        return declare(*this).mandatory<First>(L"first", _first).status();
#else
        return declare(*this).mandatory<First>(L"first", _first).mandatory<Second>(L"second", _second).status();
#endif
    }

private:
    int _first = 1;
    int _second = 2;
};

const CoSharedPtr<Declared> declared = Declared::create();
