#include "dmRewriteImp.h"

#include "dmLaneImp.h"
#include "dmNesting.h"
#include "dmSetTools.h"

DmRewrite::DmRewrite(Asks wants, Change change, Asks enters)
    : _wants(std::move(wants))
    , _change(std::move(change))
    , _enters(std::move(enters))
{
}

DmPropertySetPtr DmRewrite::operator()(const DmPropertySetPtr& set)
{
    if (const auto done = _done.find(set.get()); done != _done.end())
        return done->second;
    if (++_level > dmMaxNesting)
        dmRefuse("The tree holds itself, or is nested too deep.");
    const bool entered = !_enters || _enters(*set);
    bool any = false;
    if (entered)
        dmForEachHeld(*set,
                      [&](const DmPropertySetPtr& held)
                      {
                          any = (*this)(held) != held || any;
                          return true;
                      });
    --_level;
    DmPropertySetPtr result = set;
    const bool isWanted = _wants && _wants(*set);
    if (any || isWanted)
    {
        DmPropertySetPtr copy;
        if (const auto* const node = dynamic_cast<const DmTreeNode*>(set.get()))
            copy = dmEditCopy(*node);
        else
            copy = set->clone();
        // A copy has clones of its own things: the constants themselves, or what they became, go in their place.
        if (!copy || (entered && !dmReplaceHeld(
                                     *copy, [this](const DmPropertySetPtr& held) { return (*this)(held); }, set.get())))
            throw std::bad_alloc();
        any = (isWanted && _change(*copy)) || any;
        if (any)
        {
            copy->freeze();
            result = copy;
        }
    }
    _done.emplace(set.get(), result);
    return result;
}
