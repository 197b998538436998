/// The importer's algorithm, written down once as it is defined, over a document that is parsed already: the one place
/// that says what a document means, and that words a fault or a change. Documents without either do not come here
/// (dmJsonFastImp.h).
///
/// Of each set the single values first, then the objects, then the arrays, each by name; the first fault ends it.
#pragma once

#include "dmJsonChanges.h"
#include "dmJsonParsedImp.h"
#include "dmPropertySet.h"
#include "dmStatus.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace dmJson
{

class LiteralReader
{
public:
    /// `changes` may be null.
    LiteralReader(std::string_view text, DmJsonChanges* changes)
        : _document(text)
        , _changes(changes)
    {
    }
    /// The set that the document holds; null when it holds none. On failure `place` tells where.
    DmStatus read(DmPropertySetPtr& set, DmJsonPlace& place);

private:
    /// A property that a value is read for, and how it was come to.
    struct Slot
    {
        DmPropertySet* owner;
        int index;
        const DmPropertyDef* def;
        const Slot* above = nullptr;
        int element = -1;          ///< of a list
        std::string_view key = {}; ///< of a map
    };
    using Member = std::pair<std::string, Value>;
    struct Classified
    {
        std::map<std::string, Value> objects;
        std::map<std::string, Value> arrays;
        std::map<std::string, Value> atomics;
    };
    struct Change
    {
        std::size_t offset;
        DmJsonChange change;
    };
    enum Fault : int;

    bool createPropertySet(const std::string& className, const Value& value, DmPropertySetPtr& set);
    void classifyJsonValues(const Value& object, const Slot* slot, Classified& values);
    static std::string atomicToString(const Value& value);
    bool populatePropertySet(DmPropertySet& set, const Value& object, const Slot* above);
    bool traverse(const Value& object, const Slot* parent, DmPropertySetPtr& set);

    bool setAtomic(DmPropertySet& set, const std::string& name, const Value& value, const Slot* above);
    bool setObject(DmPropertySet& set, const std::string& name, const Value& value, const Slot* above);
    bool setArray(DmPropertySet& set, const std::string& name, const Value& value, const Slot* above);
    bool addElement(const Slot& slot, const Value& value);
    bool addValue(const Slot& slot, const Value& value);
    bool setLines(Slot& slot, const Value& array);
    bool findProperty(const std::string& name, const Value& value, Slot& slot);
    std::vector<Member> members(const Value& object, const Slot* slot);
    bool readVersion(const Value& value, const Slot* slot);
    bool readEntry(const Slot& map, const std::string& key, const Value& value);
    bool createDefault(const Slot& slot, const Value& value, DmPropertySetPtr& set);

    bool fail(Fault fault, const Value& value, int code, const DmString& name, const DmString& other = {});
    bool failProperty(const Value& value, eDmErrorId code, const Slot& slot);
    void noteValue(const Slot& slot, const Value& value);
    template <class T>
    void noteMeaning(DmJsonChange::Reason notInTable, const Value& value, const Slot& slot, const T& stored);
    void note(DmJsonChange::Reason reason, const Value& value, const Slot* slot, std::string became = {},
              std::string_view name = {});
    void keepFirst();
    void finishChanges();

    Parsed _document;
    DmJsonChanges* _changes;
    std::vector<Change> _noted;
    std::size_t _more = 0;
    DmStatus _status;
    std::size_t _faultOffset = 0;
};

/// A name or a text of the document for a message: its beginning is enough, because messages are cut anyway.
DmString quoted(std::string_view text);

} // namespace dmJson
