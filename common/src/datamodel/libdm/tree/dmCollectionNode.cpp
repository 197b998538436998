#include "dmCollectionNode.h"

#include "dmDeclare.h"
#include "dmMemoryImp.h"

DmCollectionNode::DmCollectionNode(const DmCollectionNode& other)
    : DmTreeNode(other)
    , _children(other._children)
{
    if (!other._form)
        return;
    const DmListWindow<DmTreeNode> children = other.getChildren();
    _children.reserve(children.size());
    for (auto child = children.begin(); child != children.end(); ++child)
    {
        const DmPropertySetPtr* const place = child.place();
        if (!place)
            throw std::bad_alloc();
        _children.push_back(*place);
    }
}

eDmErrorId DmCollectionNode::createList()
{
    const eDmErrorId status = declare(*this, DmTreeNode::createList())
                                  .mandatory<Children>(L"children", _children, "What the node holds, in order.")
                                  .status();
    askBeforeHolding(
        Children, [](const DmPropertySet& owner, const DmPropertySet& held)
        { return static_cast<const DmCollectionNode&>(owner).mayHold(static_cast<const DmTreeNode*>(&held)); });
    mayKeepElsewhere(Children,
                     [](const DmPropertySet& owner) -> const DmListForm*
                     { return static_cast<const DmCollectionNode&>(owner)._form.get(); });
    return status;
}

eDmErrorId DmCollectionNode::mayHold(const DmTreeNode* node) const
{
    return node ? DM_NO_ERROR : DM_BAD_VALUE;
}

int DmCollectionNode::insertChild(DmTreeNode* node, int index)
{
    if (node && index >= 0 && index <= getNbChildren())
    {
        checkChild(node);
        const DmPropertySetPtr child(node);
        // The count tells the caller whether the node is in.
        static_cast<void>(insertUnasked(Children, index, child));
    }
    return getNbChildren();
}

int DmCollectionNode::removeChild(int index)
{
    static_cast<void>(removeValueFromPropertyList(Children, DM_VECTOR_PROPERTY_SET, index)); // as above
    return getNbChildren();
}

eDmErrorId DmCollectionNode::replaceChildren(int first, int count, const std::vector<CoSharedPtr<DmTreeNode>>& nodes)
{
    for (const CoSharedPtr<DmTreeNode>& node : nodes)
        if (const eDmErrorId status = mayHold(node.get()); status != DM_NO_ERROR)
            return status;
    DmPropertySetVector children;
    const auto take = [&]
    {
        children.assign(nodes.begin(), nodes.end());
        return DM_NO_ERROR;
    };
    const eDmErrorId status = dmWithMemory(take);
    return status == DM_NO_ERROR ? spliceUnasked(Children, first, count, children) : status;
}

void DmCollectionNode::keepChildren(std::unique_ptr<const DmListForm> form)
{
    _form = std::move(form);
    _formSize = _form->size();
    keepListsElsewhere();
}

DmTreeNode* DmCollectionNode::childOfForm(int index) const
{
    if (index < 0 || index >= _formSize)
        return nullptr;
    const DmListRun run = _form->runAt(index);
    if (!run.elements)
        return nullptr;
    const int at = index - run.first;
    // Who walks by position asks for the next ones soon, and to find each takes longer than in a list: that one's
    // memory is fetched meanwhile.
    constexpr int ahead = 4;
    if (at + ahead < run.count)
    {
        const auto* const next = reinterpret_cast<const char*>(run.elements[at + ahead].get());
        __builtin_prefetch(next);
        __builtin_prefetch(next + 64);
    }
    return static_cast<DmTreeNode*>(run.elements[at].get());
}

void DmCollectionNode::checkChild(const DmTreeNode* /*node*/) const {}
