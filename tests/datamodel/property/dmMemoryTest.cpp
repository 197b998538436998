/// Every operation with each of its requests for memory refused in turn: nothing is stored, the answer says so, nothing
/// is thrown.
#include "testSets.h"
#include "zrFilled.h"

// The allocator below operator new and DmString: this program's functions come before the C library's.
extern "C"
{
    void* __libc_malloc(std::size_t size);                    // NOLINT(bugprone-reserved-identifier)
    void* __libc_realloc(void* block, std::size_t size);      // NOLINT(bugprone-reserved-identifier)
    void* __libc_calloc(std::size_t count, std::size_t size); // NOLINT(bugprone-reserved-identifier)
}

namespace
{

/// Which request of this thread is refused: the one numbered `first`, or it and all that follow.
struct Refusal
{
    long first = 0;
    bool all = false;
    long requests = 0;
};
constinit thread_local Refusal* refusal = nullptr;

bool isRefused()
{
    if (!refusal)
        return false;
    const long request = refusal->requests++;
    const bool refused = request == refusal->first || (refusal->all && request > refusal->first);
    if (refused)
        errno = ENOMEM;
    return refused;
}

} // namespace

extern "C"
{
    void* malloc(std::size_t size) noexcept
    {
        return isRefused() ? nullptr : __libc_malloc(size);
    }
    void* realloc(void* block, std::size_t size) noexcept
    {
        return isRefused() ? nullptr : __libc_realloc(block, size);
    }
    void* calloc(std::size_t count, std::size_t size) noexcept
    {
        return isRefused() ? nullptr : __libc_calloc(count, size);
    }
}

namespace
{

/// So that each object is a request: said before the first one is made.
const bool objectsAreAlone = setenv("ZR_EACH_OBJECT_ALONE", "true", 1) == 0;

class Deaf : public DmPropertyListener
{
public:
    void onPropertyChanged(const DmNodeId&, eDmPropType, const DmString&) override { ++heard; }
    int heard = 0;
};

/// Runs `operation` once a request that it makes, refusing that one, and once more with all its memory. `after` is
/// called with the answer, and with whether a request was refused. Of operations that make many requests the later ones
/// may be `sparse`: each of the first so many, then every second, and so on.
template <class Operation, class After>
void refuseEach(const std::string& name, const Operation& operation, const After& after, long sparse = 1000)
{
    for (const bool all : {false, true})
        for (long first = 0;; first += 1 + first / sparse)
        {
            ASSERT_LT(first, 1000) << name;
            Refusal current{first, all};
            auto prepared = operation();
            refusal = &current;
            const auto answer = prepared();
            refusal = nullptr;
            const bool refused = current.requests > first;
            after(answer, refused);
            if (testing::Test::HasFailure())
            {
                ADD_FAILURE() << name << ", request " << first << (all ? " and all that follow" : "");
                return;
            }
            if (!refused)
                break;
        }
}

/// A set with something in it, and what to change it with: all made before memory runs out.
struct Fixture
{
    Fixture()
    {
        for (const eDmErrorId status :
             {set->setPropertyValue(L"string", DM_STRING, &text),
              set->addValueInPropertyList(L"ints", DM_VECTOR_INT, &number),
              set->addValueInPropertyList(L"strings", DM_VECTOR_STRING, &text),
              set->addValueInPropertyList(L"points", DM_VECTOR_PROPERTY_SET, &point),
              set->addValueInPropertyMap(L"pointMap", DM_MAP_PROPERTY_SET, L"gain", &point), dmDeepCopy(*set, before)})
            EXPECT_EQ(status, DM_NO_ERROR);
        for (Deaf& listener : listeners)
            EXPECT_EQ(set->registerListener(&listener), DM_NO_ERROR);
        set->cleanDirty();
    }

    /// As when it was made.
    bool isUntouched() const
    {
        bool equal = false;
        EXPECT_EQ(dmDeepEqual(*set, *before, equal), DM_NO_ERROR);
        for (const Deaf& listener : listeners)
            equal = equal && listener.heard == 0;
        return equal && !set->isDirty();
    }

    CoSharedPtr<TestEvery> set = TestEvery::create();
    DmPropertySetPtr before;
    const DmString text{L"a text of some length"};
    const DmString key{L"another key"};
    const DmString gain{L"gain"};
    const std::int32_t number = 5;
    const DmPropertySetPtr point = stored(TestPoint::create());
    const std::vector<DmString> texts{L"one", L"two", L"three"};
    Deaf listeners[9]; ///< more than are written down without memory
    Deaf late;
};

struct Row
{
    const char* name;
    eDmErrorId (*change)(Fixture&);
};

} // namespace

TEST(WithoutMemory, EachObjectIsARequestHere)
{
    ASSERT_TRUE(objectsAreAlone);
    Refusal none{1000, false};
    refusal = &none;
    const auto point = TestPoint::create();
    refusal = nullptr;
    EXPECT_TRUE(point && none.requests > 0);
}

TEST(WithoutMemory, NothingIsStored)
{
    constexpr eDmPropType strings = DM_VECTOR_STRING;
    constexpr eDmPropType points = DM_VECTOR_PROPERTY_SET;
    constexpr eDmPropType map = DM_MAP_PROPERTY_SET;
    static const int indexOfString = TestEvery::create()->classData().find(L"string");
    static const int indexOfStrings = TestEvery::create()->classData().find(L"strings");
    static const int indexOfInts = TestEvery::create()->classData().find(L"ints");
    static const int indexOfPoints = TestEvery::create()->classData().find(L"points");
    static const int indexOfMap = TestEvery::create()->classData().find(L"pointMap");
    static const DmString nameOfString(L"string");
    static const DmString nameOfDoubles(L"doubles");
    static const DmString nameOfStrings(L"strings");
    static const DmString one(L"1");
    const Row rows[] = {
        {"set a text", [](Fixture& f) { return f.set->setPropertyValue(indexOfString, DM_STRING, &f.key); }},
        {"set an Int", [](Fixture& f) { return f.set->setPropertyValue(0, DM_INT, &f.number); }},
        {"set a nested set", [](Fixture& f) { return f.set->setPropertyValue(L"point", DM_PROPERTY_SET, &f.point); }},
        {"set a text from text", [](Fixture& f) { return f.set->setPropertyValueFromStr(nameOfString, f.key); }},
        {"add from text", [](Fixture& f) { return f.set->setPropertyValueFromStr(nameOfDoubles, one); }},
        {"add a text from text", [](Fixture& f) { return f.set->setPropertyValueFromStr(nameOfStrings, f.key); }},
        {"append", [](Fixture& f) { return f.set->addValueInPropertyList(indexOfInts, DM_VECTOR_INT, &f.number); }},
        {"append a text", [](Fixture& f) { return f.set->addValueInPropertyList(indexOfStrings, strings, &f.key); }},
        {"append a set", [](Fixture& f) { return f.set->addValueInPropertyList(indexOfPoints, points, &f.point); }},
        {"insert", [](Fixture& f) { return f.set->insertValueInPropertyList(indexOfStrings, strings, 0, &f.key); }},
        {"replace", [](Fixture& f) { return f.set->setValueFromPropertyList(indexOfStrings, strings, 0, &f.key); }},
        {"remove", [](Fixture& f) { return f.set->removeValueFromPropertyList(indexOfStrings, strings, 0); }},
        {"clear", [](Fixture& f) { return f.set->clearList(indexOfStrings, strings); }},
        {"set a list", [](Fixture& f) { return f.set->setPropertyList(indexOfStrings, strings, &f.texts); }},
        {"add to a map", [](Fixture& f) { return f.set->addValueInPropertyMap(indexOfMap, map, f.key, &f.point); }},
        {"set in a map", [](Fixture& f) { return f.set->setValueFromPropertyMap(indexOfMap, map, f.key, &f.point); }},
        {"replace in a map",
         [](Fixture& f) { return f.set->setValueFromPropertyMap(indexOfMap, map, f.gain, &f.point); }},
        {"remove from a map", [](Fixture& f) { return f.set->removeValueFromPropertyMap(indexOfMap, map, f.gain); }},
        {"clear a map", [](Fixture& f) { return f.set->clearMap(indexOfMap, map); }},
    };
    for (const Row& row : rows)
    {
        std::unique_ptr<Fixture> fixture;
        refuseEach(
            row.name,
            [&]
            {
                fixture = std::make_unique<Fixture>();
                return [&] { return row.change(*fixture); };
            },
            [&](eDmErrorId status, bool /*refused*/)
            {
                // What is refused need not be needed: a listener's copy of an id, say.
                EXPECT_TRUE(status == DM_NO_ERROR || status == DM_BAD_VALUE) << status;
                EXPECT_EQ(fixture->isUntouched(), status != DM_NO_ERROR);
            });
    }
}

TEST(WithoutMemory, ReadingCopyingAndFreezingSayThatTheyFailed)
{
    const Fixture f;
    const int pointMap = f.set->classData().find(L"pointMap");
    const int strings = f.set->classData().find(L"strings");
    const int string = f.set->classData().find(L"string");
    DmString text;
    DmStringArray keys;
    DmPropertyDef def;
    DmPropertySetPtr copy;
    std::string difference;
    bool equal = false;
    class Paths : public DmPropertyWalker
    {
    public:
        DmWalkStep property(const DmPropertyPath& path) override
        {
            length += path.text().size();
            return DmWalkStep::Into;
        }
        std::size_t length = 0;
    } paths;
    const auto textIs = [&](const wchar_t* expected) { return text == expected; };
    const auto whatever = [] { return true; };
    const struct
    {
        const char* name;
        std::function<eDmErrorId()> ask;
        std::function<bool()> isRight; ///< when the answer is a success
    } rows[] = {
        {"value", [&] { return f.set->getPropertyValue(string, DM_STRING, &text); },
         [&] { return textIs(f.text.c_str()); }},
        {"element", [&] { return f.set->getValueFromPropertyList(strings, DM_VECTOR_STRING, 0, &text); },
         [&] { return textIs(f.text.c_str()); }},
        {"text", [&] { return f.set->getStrFromPropertyValue(string, DM_STRING, text, nullptr); },
         [&] { return textIs(f.text.c_str()); }},
        {"text of a number", [&] { return f.set->getStrFromPropertyValue(0, DM_INT, text, nullptr); },
         [&] { return textIs(L"0"); }},
        {"name", [&] { return f.set->getPropertyName(0, text); }, [&] { return textIs(L"int"); }},
        {"definition", [&] { return f.set->getPropertyDef(0, def); }, [&] { return def._name == L"int"; }},
        {"keys", [&] { return f.set->getKeysFromPropertyMap(pointMap, DM_MAP_PROPERTY_SET, keys); },
         [&] { return keys.size() == 1 && keys[0] == L"gain"; }},
        {"walk", [&] { return dmWalk(*f.set, paths); }, whatever},
        {"deep copy", [&] { return dmDeepCopy(*f.set, copy); },
         [&] { return dmDeepEqual(*f.set, *copy, equal) == DM_NO_ERROR && equal; }},
        {"comparison", [&] { return dmDeepEqual(*f.set, *f.before, equal, &difference); }, [&] { return equal; }},
        {"look-up by id",
         [&]
         {
             DmPropertySet* found = nullptr;
             return f.set->getPropertySetFromNodeId(f.set->getNodeId(), found);
         },
         whatever},
    };
    for (const auto& row : rows)
        refuseEach(
            row.name, [&] { return row.ask; },
            [&](eDmErrorId status, bool refused)
            {
                EXPECT_TRUE(status == DM_NO_ERROR || (refused && status == DM_BAD_VALUE)) << status;
                if (status == DM_NO_ERROR)
                {
                    EXPECT_TRUE(row.isRight());
                }
            });

    // What answers by itself.
    refuseEach(
        "freeze",
        []
        {
            return [set = TestEvery::create()]
            {
                set->freeze();
                return set->isFrozen();
            };
        },
        [](bool frozen, bool refused) { EXPECT_TRUE(frozen && !refused); });
    refuseEach(
        "status",
        []
        {
            return []
            {
                DmStatus status;
                status.fail(DM_BAD_VALUE, "property '%ls'", L"number");
                return status;
            };
        },
        [](const DmStatus& status, bool refused)
        {
            EXPECT_TRUE(status.failed() && status.reason() == DM_BAD_VALUE);
            EXPECT_TRUE(refused || status.info() == L"property 'number'");
        });
    refuseEach(
        "listener",
        []
        {
            return [set = TestEvery::create()]
            {
                static Deaf listener;
                return set->registerListener(&listener);
            };
        },
        [](eDmErrorId status, bool refused) { EXPECT_EQ(status, refused ? DM_BAD_VALUE : DM_NO_ERROR); });
}

TEST(WithoutMemory, ACreationOrACloneIsNullOrWhole)
{
    const Fixture f;
    const DmString className(TestEvery::className);
    const DmNodeId parent(f.set->getNodeId(), 1, 2);
    refuseEach(
        "create", [] { return [] { return TestEvery::create(); }; },
        [](const CoSharedPtr<TestEvery>& made, bool refused) { EXPECT_EQ(!made, refused); });
    refuseEach(
        "create by name, below a parent",
        [&]
        {
            return [&]
            {
                DmPropertySet* made = nullptr;
                const eDmErrorId status =
                    DmPropertyFactory::getInstance().createPropertySetInstance(className, parent, 3, made);
                EXPECT_EQ(made == nullptr, status != DM_NO_ERROR);
                return std::pair(status, DmPropertySetPtr(made));
            };
        },
        [](const std::pair<eDmErrorId, DmPropertySetPtr>& answer, bool refused)
        { EXPECT_EQ(answer.first, refused ? DM_BAD_VALUE : DM_NO_ERROR); });
    refuseEach(
        "clone", [&] { return [&] { return f.set->clone(); }; },
        [&](const DmPropertySetPtr& copy, bool refused)
        {
            EXPECT_EQ(!copy, refused);
            bool equal = true;
            EXPECT_TRUE(!copy || (dmDeepEqual(*f.set, *copy, equal) == DM_NO_ERROR && equal));
        });

    // With values: all of them, or no object.
    const DmString text(L"a text that needs room of its own");
    const DmString fcm(L"25 fps");
    const auto input = DmSourceNode::GeneratedInput::create(text, 10.0, DM_MEDIA_VIDEO);
    const auto resolution = DmFrameResolution::create();
    const std::function<DmPropertySetPtr()> makers[] = {
        [&] { return DmCompositionNode::create(text, fcm, resolution); },
        [&] { return DmBlobNode::create(text, text); },
        [&] { return DmCueMark::create(text, 4.0); },
        [&] { return DmSimpleChannel::create(text); },
        [&] { return DmSourceNode::create(input, 3.0, 5.0, 2.0, true, true); },
        [&] { return DmSourceNode::GeneratedInput::create(text, 10.0, DM_MEDIA_VIDEO); },
        [&] { return DmSourceNode::MediaInput::create(10.0, 90000.0, nullptr, fcm, DM_MEDIA_VIDEO, true); },
    };
    for (const auto& make : makers)
    {
        const DmPropertySetPtr whole = make();
        refuseEach(
            "create with values", [&] { return make; },
            [&](const DmPropertySetPtr& made, bool refused)
            {
                bool equal = true;
                EXPECT_TRUE(made ? dmDeepEqual(*whole, *made, equal) == DM_NO_ERROR && equal : refused);
            });
    }
}

TEST(WithoutMemory, ARareBlockIsCopiedWholeOrNotAtAll)
{
    const DmString text(L"another text");
    const DmPropertySetPtr point(TestPoint::create());
    const std::function<eDmErrorId(TestRare&)> changes[] = {
        [](TestRare& set) { return set.setNumber(6); },
        [&](TestRare& set) { return set.setText(text); },
        [&](TestRare& set) { return set.addValueInPropertyList(TestRare::Points, DM_VECTOR_PROPERTY_SET, &point); },
        [&](TestRare& set) { return set.addValueInPropertyMap(TestRare::Map, DM_MAP_PROPERTY_SET, text, &point); },
    };
    const CoSharedPtr<TestRare> usual = TestRare::create();
    for (const auto& change : changes)
    {
        CoSharedPtr<TestRare> set;
        refuseEach(
            "change " + std::to_string(&change - changes),
            [&]
            {
                set = TestRare::create();
                return [&] { return change(*set); };
            },
            [&](eDmErrorId status, bool refused)
            {
                EXPECT_EQ(status, refused ? DM_BAD_VALUE : DM_NO_ERROR);
                bool equal = false;
                EXPECT_EQ(dmDeepEqual(*set, *usual, equal), DM_NO_ERROR);
                EXPECT_EQ(equal, refused);
                EXPECT_EQ(set->isDirty(), !refused);
            });
    }
}

namespace
{

class NodeCount final : public DmTreeVisitor
{
public:
    NodeCount()
        : DmTreeVisitor("NodeCount")
    {
    }
    void visitNode(DmTreeNode*) override { ++nodes; }
    void visitCollection(DmCollectionNode*) override { ++nodes; }
    int nodes = 0;
};

/// An effect with a channel and an attribute, and what to change it with.
struct EffectFixture
{
    EffectFixture()
    {
        EXPECT_EQ(channel->setName(L"gain"), DM_NO_ERROR);
        EXPECT_EQ(effect->addChannel(channel), DM_NO_ERROR);
        EXPECT_EQ(dmDeepCopy(*effect, before), DM_NO_ERROR);
    }
    CoSharedPtr<DmAnimationChannel> channel = DmAnimationChannel::create();
    CoSharedPtr<DmSimpleChannel> attribut = DmSimpleChannel::create(L"a text");
    CoSharedPtr<DmColourSettings> effect = DmColourSettings::create();
    CoSharedPtr<DmLayerNode> layer = DmLayerNode::create();
    CoSharedPtr<DmCueMark> mark = DmCueMark::create();
    const DmString name{L"a name of some length"};
    DmPropertySetPtr before;
};

} // namespace

TEST(WithoutMemory, EffectsLayersAndWalksSayThatTheyFailed)
{
    const std::pair<const char*, std::function<eDmErrorId(EffectFixture&)>> rows[] = {
        {"set an attribute", [](EffectFixture& f) { return f.effect->setAttributByName(f.name, f.attribut); }},
        {"set a channel", [](EffectFixture& f) { return f.effect->setChannelByName(f.name, f.channel); }},
        {"ask for a channel",
         [](EffectFixture& f) { return f.effect->getChannelByName(f.name) ? DM_NO_ERROR : DM_BAD_VALUE; }},
        {"set an attribute's text", [](EffectFixture& f) { return f.effect->setAttributText(f.name, f.name); }},
    };
    for (const auto& row : rows)
    {
        const auto& change = row.second;
        std::unique_ptr<EffectFixture> fixture;
        refuseEach(
            row.first,
            [&]
            {
                fixture = std::make_unique<EffectFixture>();
                return [&] { return change(*fixture); };
            },
            [&](eDmErrorId status, bool refused)
            {
                EXPECT_EQ(status, refused ? DM_BAD_VALUE : DM_NO_ERROR);
                bool equal = false;
                EXPECT_EQ(dmDeepEqual(*fixture->effect, *fixture->before, equal), DM_NO_ERROR);
                EXPECT_EQ(equal, refused);
            });
    }

    std::unique_ptr<EffectFixture> fixture;
    refuseEach(
        "mark a layer",
        [&]
        {
            fixture = std::make_unique<EffectFixture>();
            return [&] { return fixture->layer->addCueMark(fixture->mark); };
        },
        [&](eDmErrorId status, bool refused)
        {
            EXPECT_EQ(status, refused ? DM_BAD_VALUE : DM_NO_ERROR);
            EXPECT_EQ(fixture->layer->getCueMarks().size(), refused ? 0U : 1U);
        });

    const auto track = DmTrackNode::create();
    track->addChild(DmLayerNode::create());
    NodeCount count;
    refuseEach(
        "walk a tree",
        [&]
        {
            count.nodes = 0;
            return [&] { return DmPreIt(track).apply(count); };
        },
        [&](eDmErrorId status, bool refused)
        {
            EXPECT_EQ(status, refused ? DM_BAD_VALUE : DM_NO_ERROR);
            EXPECT_TRUE(refused || count.nodes == 2);
        });
    refuseEach(
        "copy a tree", [&] { return [&] { return DmTreeTool::deepClone(track); }; },
        [&](const CoSharedPtr<DmTreeNode>& copy, bool refused) { EXPECT_EQ(!copy, refused); });
}

namespace
{

CoSharedPtr<DmTreeNode> gap(double recIn)
{
    return DmGapNode::create(DM_MEDIA_VIDEO, recIn, 10);
}

CoSharedPtr<DmTreeNode> mix(double recIn)
{
    return DmTrxEffectNode::create(DmVDissolveSettings::create(), recIn, 4);
}

/// Of a length, which a layer takes from it.
CoSharedPtr<DmTreeNode> longCut(double recIn)
{
    auto cut = DmCutNode::create(DM_MEDIA_VIDEO, recIn);
    EXPECT_EQ(cut->setRecLength(7), DM_NO_ERROR);
    return cut;
}

/// A layer that is being built, and what comes next.
struct Growing
{
    Growing(const CoSharedPtr<DmTreeNode>& last, const CoSharedPtr<DmTreeNode>& next)
        : element(next)
    {
        EXPECT_EQ(builder.append(gap(0)), DM_NO_ERROR);
        EXPECT_EQ(builder.append(last), DM_NO_ERROR);
        layer = builder.finish(); // behind a transition stands a gap of no length
        before = state();
    }
    /// Where the builder is, whether it holds the element, and the times of that and of all that the layer holds.
    std::vector<double> state() const
    {
        std::vector<double> numbers{builder.getEnd(), builder.holds(element.get()) ? 1.0 : 0.0};
        const auto add = [&](DmTreeNode* node)
        {
            const DmTimeRange range = DmTreeTool::getRecordRange(node);
            numbers.insert(numbers.end(), {static_cast<double>(node->whatIs()), range.in, range.out()});
        };
        add(element.get());
        for (int i = 0; i < layer->getNbChildren(); ++i)
        {
            EXPECT_TRUE(builder.holds(layer->getChild(i)));
            add(layer->getChild(i));
        }
        return numbers;
    }

    DmLayerBuilder builder{0, DM_MEDIA_VIDEO};
    CoSharedPtr<DmTreeNode> element;
    CoSharedPtr<DmLayerNode> layer;
    std::vector<double> before;
};

} // namespace

TEST(WithoutMemory, ALayerTakesAnElementWithAllInFrontOfItOrNothing)
{
    const struct
    {
        const char* name;
        CoSharedPtr<DmTreeNode> (*last)(double recIn);
        CoSharedPtr<DmTreeNode> (*next)(double recIn);
        eDmErrorId (DmLayerBuilder::*put)(const CoSharedPtr<DmTreeNode>&);
        int more; ///< elements than before
    } rows[] = {
        {"a seam", gap, gap, &DmLayerBuilder::append, 2},
        {"a hole", gap, gap, &DmLayerBuilder::place, 4},
        {"a hole in front of a transition", gap, mix, &DmLayerBuilder::place, 3},
        {"behind a transition", mix, gap, &DmLayerBuilder::append, 0},
        {"a hole behind a transition", mix, gap, &DmLayerBuilder::place, 2},
        {"a transition behind one", mix, mix, &DmLayerBuilder::append, 1},
        {"a cut", gap, longCut, &DmLayerBuilder::append, 1},
    };
    for (const auto& row : rows)
    {
        std::unique_ptr<Growing> growing;
        refuseEach(
            row.name,
            [&]
            {
                growing = std::make_unique<Growing>(row.last(0), row.next(50));
                return [&] { return (growing->builder.*row.put)(growing->element); };
            },
            [&](eDmErrorId status, bool refused)
            {
                EXPECT_EQ(status, refused ? DM_BAD_VALUE : DM_NO_ERROR);
                const int elements = static_cast<int>(growing->before.size() - 5) / 3;
                if (refused)
                    EXPECT_EQ(growing->state(), growing->before);
                else
                    EXPECT_EQ(growing->layer->getNbChildren(), elements + row.more);
                EXPECT_EQ((growing->builder.*row.put)(growing->element), refused ? DM_NO_ERROR : DM_BAD_VALUE);
            });
    }
}

TEST(WithoutMemory, ATrackGoesIntoACompositionAsAWholeOrNotAtAll)
{
    struct Tracks
    {
        Tracks()
        {
            builder.beginLayer();
            track = builder.finish();
            EXPECT_EQ(builder.append(mix(0)), DM_NO_ERROR);
            EXPECT_EQ(composition->registerListener(&listener), DM_NO_ERROR);
        }
        DmTrackBuilder builder{0, DM_MEDIA_VIDEO};
        CoSharedPtr<DmTrackNode> track;
        CoSharedPtr<DmCompositionNode> composition = DmCompositionNode::create();
        Deaf listener;
    };
    std::unique_ptr<Tracks> tracks;
    refuseEach(
        "a track",
        [&]
        {
            tracks = std::make_unique<Tracks>();
            return [&] { return tracks->builder.addTo(*tracks->composition); };
        },
        [&](eDmErrorId status, bool refused)
        {
            const auto* const layer = static_cast<const DmLayerNode*>(tracks->track->getChild(1));
            EXPECT_EQ(status, refused ? DM_BAD_VALUE : DM_NO_ERROR);
            EXPECT_EQ(tracks->composition->getNbChildren(), refused ? 0 : 1);
            EXPECT_EQ(tracks->listener.heard, refused ? 0 : 2);
            EXPECT_EQ(layer->getNbChildren(), refused ? 2 : 3);
            EXPECT_EQ(layer->getLayerLength() > 0.0, !refused);
            EXPECT_EQ(tracks->builder.addTo(*tracks->composition), DM_NO_ERROR);
            EXPECT_EQ(layer->getNbChildren(), 3);
        });
}

namespace
{

/// A cut with something wrong everywhere: a track that two reels hold, a source beyond its material, a segment without
/// an input in a container.
struct FaultyCut
{
    FaultyCut()
    {
        const auto input = DmSourceNode::GeneratedInput::create(L"bars", 10.0, DM_MEDIA_VIDEO);
        for (const CoSharedPtr<DmLayerNode>& layer : {inner, outer})
            source = DmSourceNode::create(input, 0.0, 25.0, 20.0, false, false), layer->addChild(source);
        EXPECT_EQ(source->setSegmentId(L"an id of some length"), DM_NO_ERROR);
        nestedTrack->addChild(inner);
        nested->addChild(nestedTrack);
        outer->addChild(DmContainerNode::create(nested, DM_MEDIA_VIDEO, 25.0, 5.0));
        track->addChild(outer);
        composition->addChild(track);
        for (int i = 0; i < 2; ++i)
        {
            const auto reel = DmReelNode::create();
            reel->addChild(composition);
            root->addChild(reel);
        }
    }
    CoSharedPtr<DmLayerNode> inner = DmLayerNode::create(0, DM_MEDIA_VIDEO, 0, false);
    CoSharedPtr<DmLayerNode> outer = DmLayerNode::create(0, DM_MEDIA_VIDEO, 0, false);
    CoSharedPtr<DmTrackNode> nestedTrack = DmTrackNode::create(0, DM_MEDIA_VIDEO);
    CoSharedPtr<DmTrackNode> track = DmTrackNode::create(0, DM_MEDIA_VIDEO);
    CoSharedPtr<DmCompositionNode> nested = DmCompositionNode::create(L"nested", L"25 fps", {});
    CoSharedPtr<DmCompositionNode> composition = DmCompositionNode::create(L"a cut of some length", L"25 fps", {});
    CoSharedPtr<DmRoot> root = DmRoot::create();
    CoSharedPtr<DmSourceNode> source;
};

} // namespace

TEST(WithoutMemory, WhatAnswersListsSaysThatTheyAreNotWhole)
{
    FaultyCut cut;
    const auto repaired = [&cut] { return DmTreeTool::findTimeFaults(cut.root).empty(); };
    EXPECT_EQ(DmTreeTool::findTimeFaults(cut.root).size(), 2U);
    const std::size_t violations = DmTreeTool::findViolations(cut.composition, DM_VALIDATE_ALL).size();
    const std::size_t classes = DmPropertyFactory::getInstance().classNames().size();
    const DmString id(L"an id of some length");
    EXPECT_GT(violations, 2U);

    // What is counted when nothing is missing.
    using Ask = std::function<std::size_t(eDmErrorId&)>;
    const struct
    {
        const char* name;
        std::size_t expected;
        Ask ask;
    } rows[] = {
        {"violations", violations,
         [&](eDmErrorId& status)
         { return DmTreeTool::findViolations(cut.composition, DM_VALIDATE_ALL, &status).size(); }},
        {"time faults", 2, [&](eDmErrorId& status) { return DmTreeTool::findTimeFaults(cut.root, &status).size(); }},
        {"class names", classes,
         [](eDmErrorId& status) { return DmPropertyFactory::getInstance().classNames(&status).size(); }},
        {"segment by id", 1,
         [&](eDmErrorId& status) { return DmSegmentIndex(cut.composition).find(id, &status) ? 1U : 0U; }},
        {"places", 2, [&](eDmErrorId& status) { return DmTreePlaces(cut.root).of(cut.source, &status).size(); }},
        {"parents", 2,
         [&](eDmErrorId& status) { return DmTreePlaces(cut.root).parentsOf(cut.composition.get(), &status).size(); }},
        {"dump", 1,
         [&](eDmErrorId& status)
         {
             std::ostringstream out;
             const eDmErrorId dumped = DmTreeTool::dump(cut.root, out);
             status = out.good() ? dumped : DM_BAD_VALUE; // the stream's own memory is its own affair
             return 1U;
         }},
        {"document", 1,
         [&](eDmErrorId& status)
         {
             std::string text;
             status = DmTreeJsonBuilder::generateUtf8(cut.root.get(), text).ok() ? DM_NO_ERROR : DM_BAD_VALUE;
             return text.empty() ? 0U : 1U;
         }},
        {"layer", 3,
         [](eDmErrorId& status)
         {
             DmTrackBuilder builder(0, DM_MEDIA_VIDEO);
             builder.beginLayer();
             status = builder.fillTo(5.0);
             const auto track = builder.finish();
             status = track ? status : DM_BAD_VALUE;
             return track && status == DM_NO_ERROR ? 1U + static_cast<std::size_t>(track->getNbChildren()) : 0U;
         }},
    };
    for (const auto& row : rows)
        refuseEach(
            row.name,
            [&]
            {
                return [&]
                {
                    eDmErrorId status = DM_NO_ERROR;
                    const std::size_t count = row.ask(status);
                    return std::pair(status, count);
                };
            },
            [&](const std::pair<eDmErrorId, std::size_t>& answer, bool refused)
            {
                EXPECT_TRUE(answer.first == DM_NO_ERROR || (refused && answer.first == DM_BAD_VALUE));
                EXPECT_TRUE(answer.first != DM_NO_ERROR || answer.second == row.expected);
            });

    const auto sound = DmCompositionNode::create(L"sound", L"25 fps", {});
    refuseEach(
        "a valid tree", [&] { return [&] { return DmTreeTool::isValidTree(sound); }; },
        [](bool valid, bool refused) { EXPECT_EQ(valid, !refused); });
    refuseEach(
        "repair", [&] { return [&] { return DmTreeTool::repairTimes(cut.root); }; },
        [&](eDmErrorId status, bool refused)
        {
            EXPECT_EQ(status, refused ? DM_BAD_VALUE : DM_NO_ERROR);
            EXPECT_TRUE(refused || repaired());
        });
}

TEST(WithoutMemory, AnObjectOfAnyClassIsMadeCopiedAndReadWholeOrNotAtAll)
{
    DmPropertyFactory& factory = DmPropertyFactory::getInstance();
    DM::CoMsg::setFilterLevel(DM::CoMsg::UserLevel); // messages are not what is looked at
    for (const DmString& name : factory.classNames())
    {
        if (name.view().starts_with(L"Test"))
            continue; // this program's
        SCOPED_TRACE(dmUtf8(name));
        const DmPropertySetPtr filled = zrTest::fresh(name);
        zrTest::fill(*filled);
        std::string json;
        ASSERT_TRUE(DmTreeJsonBuilder::generateUtf8(filled.get(), json).ok());
        const struct
        {
            const char* what;
            std::function<eDmErrorId(DmPropertySetPtr&)> make;
        } rows[] = {
            {"make",
             [&](DmPropertySetPtr& made)
             {
                 factory.setCreateDefaultAttributes(true);
                 DmPropertySet* raw = nullptr;
                 const eDmErrorId status = factory.createPropertySetInstance(name, DmNodeId(), 0, raw);
                 factory.setCreateDefaultAttributes(false);
                 EXPECT_EQ(raw == nullptr, status != DM_NO_ERROR);
                 made.reset(raw);
                 return status;
             }},
            {"clone",
             [&](DmPropertySetPtr& made)
             {
                 made = filled->clone();
                 return made ? DM_NO_ERROR : DM_BAD_VALUE;
             }},
            {"copy", [&](DmPropertySetPtr& made) { return dmDeepCopy(*filled, made); }},
            {"read", [&](DmPropertySetPtr& made)
             { return DmJsonImporter::importSetFromStr(json, made).ok() ? DM_NO_ERROR : DM_BAD_VALUE; }},
        };
        for (const auto& row : rows)
        {
            DmPropertySetPtr whole;
            ASSERT_EQ(row.make(whole), DM_NO_ERROR);
            DmPropertySetPtr made;
            refuseEach(
                row.what,
                [&]
                {
                    made.reset();
                    return [&] { return row.make(made); };
                },
                [&](eDmErrorId status, bool refused)
                {
                    EXPECT_TRUE(status == DM_NO_ERROR || (refused && status == DM_BAD_VALUE));
                    EXPECT_EQ(made == nullptr, status != DM_NO_ERROR);
                    bool equal = false;
                    EXPECT_TRUE(!made || (dmDeepEqual(*whole, *made, equal) == DM_NO_ERROR && equal));
                },
                10);
        }
    }
}
