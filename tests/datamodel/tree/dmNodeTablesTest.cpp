/// Every class of node and record with its properties: names and types are what documents are made of.
#include "dmPSetHelper.h"
#include "dmPropertyFactory.h"
#include "dmPropertyText.h"
#include "dmTreeNode.h"
#include "dmUtf8.h"

#include <gtest/gtest.h>

#include <optional>

namespace
{

enum Written
{
    Always,
    IfSet ///< only when it differs from its default
};

struct Property
{
    const char* name;
    const char* type;
    Written written;
    /// What a fresh object holds: the text of a value, the code of a character; "null", "shared" (the frozen default)
    /// or "own" for a nested set; the length of a list.
    const char* fresh;
    const char* holds = ""; ///< the class of a slot
};

using Properties = std::vector<Property>;

constexpr const char* noTime = "2147483647";

Properties operator+(Properties base, const Properties& own)
{
    base.insert(base.end(), own.begin(), own.end());
    return base;
}

Properties node(const char* kind)
{
    return {{"classId", "Enum", Always, kind},
            {"name", "String", Always, "untitled"},
            {"comment", "String", Always, ""},
            {"baseBlob", "Property-Set", Always, "null"}};
}

Properties collection(const char* kind)
{
    return node(kind) + Properties{{"children", "Vector-Property-Set", Always, "0", "DmTreeNode"}};
}

Properties segment(const char* kind)
{
    return node(kind) + Properties{{"recIn", "Double", IfSet, "0"},
                                   {"recLength", "Double", IfSet, "0"},
                                   {"relIn", "Double", IfSet, "0"},
                                   {"effects", "Vector-Property-Set", Always, "0", "DmEffectSettings"},
                                   {"segmentMarks", "Vector-Property-Set", Always, "0", "DmCueMark"},
                                   {"mediaType", "Enum", Always, "0"},
                                   {"originalID", "String", Always, ""},
                                   {"segmentId", "String", Always, ""},
                                   {"segmentPreviousIds", "Vector-String", Always, "0"},
                                   {"shotName", "String", Always, ""},
                                   {"muted", "Bool", IfSet, "false"}};
}

Properties transition(const char* kind)
{
    return node(kind) + Properties{{"recIn", "Double", IfSet, "0"},
                                   {"recLength", "Double", IfSet, "0"},
                                   {"relIn", "Double", IfSet, "0"},
                                   {"mediaType", "Enum", Always, "0"}};
}

Properties input()
{
    return {{"name", "String", IfSet, ""},
            {"mediaType", "Enum", Always, "0"},
            {"srcLength", "Double", Always, "0"},
            {"srcFcm", "String", IfSet, "???"},
            {"primaryResolution", "Property-Set", Always, "null", "DmFrameResolution"},
            {"primaryFrames", "Vector-Property-Set", Always, "0", "DmFrameNode"},
            {"altResolution", "Property-Set", IfSet, "shared", "DmFrameResolution"},
            {"altFrames", "Vector-Property-Set", Always, "0", "DmFrameNode"},
            {"audioProperties", "Property-Set", IfSet, "shared", "DmAudioProperties"},
            {"audioFrames", "Vector-Property-Set", Always, "0", "DmFrameNode"},
            {"processed", "Bool", Always, "false"},
            {"comment", "String", IfSet, ""},
            {"anamorphicFlag", "Enum", IfSet, "0"},
            {"hasMedia", "Bool", IfSet, "false"}};
}

struct Class
{
    const char* name;
    Properties properties;
};

std::vector<Class> classes()
{
    return {
        {"DmRoot",
         collection("10") + Properties{{"identification", "Property-Set", Always, "own", "DmIdentification"}}},
        {"DmReelNode", collection("9")},
        {"DmCompositionNode",
         collection("0") + Properties{{"fcm", "String", IfSet, "???"},
                                      {"compLength", "Double", IfSet, "0"},
                                      {"resolution", "Property-Set", IfSet, "shared", "DmFrameResolution"},
                                      {"altResolution", "Property-Set", IfSet, "shared", "DmFrameResolution"},
                                      {"samplingRate", "Double", IfSet, "0"},
                                      {"startTCStr", "String", Always, ""},
                                      {"startTC", "Double", Always, "0"},
                                      {"startTcFcm", "String", IfSet, "???"},
                                      {"cueMarks", "Vector-Property-Set", Always, "0", "DmCueMark"},
                                      {"inMark", "Double", IfSet, noTime},
                                      {"outMark", "Double", IfSet, noTime},
                                      {"origin", "Enum", Always, "0"},
                                      {"embInMark", "Double", IfSet, noTime},
                                      {"embOutMark", "Double", IfSet, noTime},
                                      {"isContainerComp", "Bool", IfSet, "false"},
                                      {"isMatteContainerComp", "Bool", IfSet, "false"},
                                      {"isSubClipContainerComp", "Bool", IfSet, "false"},
                                      {"currentVersionUid", "String", Always, ""},
                                      {"currentVersionName", "String", Always, ""},
                                      {"colourSpace", "String", IfSet, ""},
                                      {"primaryVideoTrackIndex", "Int", IfSet, "-1"},
                                      {"secondaryVideoTrackIndex", "Int", IfSet, "-1"}}},
        {"DmTrackNode", collection("1") + Properties{{"trackNum", "Int", Always, "0"},
                                                     {"trackChannel", "Int", Always, "0"},
                                                     {"mediaType", "Enum", Always, "0"},
                                                     {"hasStereoFx", "Bool", Always, "false"}}},
        {"DmLayerNode", collection("2") + Properties{{"layerNum", "Int", Always, "0"},
                                                     {"mediaType", "Enum", Always, "0"},
                                                     {"layerStartTC", "Double", Always, "0"},
                                                     {"layerLength", "Double", Always, "0"},
                                                     {"layerStereoOutputChannel", "Int", Always, "0"},
                                                     {"isResultLayer", "Bool", Always, "false"}}},
        {"DmSourceNode", segment("3") + Properties{{"srcInput", "Property-Set", Always, "null", "Input"},
                                                   {"srcMultiInput", "Vector-Property-Set", IfSet, "0", "Input"},
                                                   {"isMultiChannel", "Bool", IfSet, "false"},
                                                   {"fxChecksum", "Double", IfSet, noTime}}},
        {"DmContainerNode",
         segment("4") + Properties{{"composition", "Property-Set", Always, "null", "DmCompositionNode"}}},
        {"DmGapNode", segment("5")},
        {"DmCutNode", transition("6")},
        {"DmTrxEffectNode",
         transition("7") + Properties{{"effect", "Property-Set", Always, "null", "DmEffectSettings"}}},
        {"DmBlobNode", node("8") + Properties{{"blobType", "String", IfSet, ""}, {"data", "CDATA", Always, ""}}},
        {"DmBatchFxNode",
         segment("11") + Properties{{"setupFileName", "String", IfSet, ""}, {"setup", "CDATA", Always, ""}}},
        {"DmIdentification",
         {{"name", "String", Always, ""},
          {"ipAddress", "String", Always, ""},
          {"host", "String", Always, ""},
          {"osName", "String", Always, ""},
          {"manuf", "String", Always, ""},
          {"appName", "String", Always, ""},
          {"appVersion", "String", Always, ""},
          {"date", "String", Always, ""},
          {"time", "String", Always, ""},
          {"user", "String", Always, ""},
          {"filePathsRoot", "String", Always, ""},
          {"companyName", "String", Always, ""},
          {"appMajorVersion", "Int", IfSet, "0"},
          {"appMinorVersion", "Int", IfSet, "0"},
          {"appTertiaryVersion", "Int", IfSet, "0"},
          {"appPatchVersion", "Int", IfSet, "0"},
          {"appVersionType", "String", IfSet, ""}}},
        {"DmFrameResolution",
         {{"width", "Int", Always, "0"},
          {"height", "Int", Always, "0"},
          {"ratio", "Float", Always, "0"},
          {"scanFormat", "String", Always, ""},
          {"bitsPerPixel", "Int", Always, "0"},
          {"bitsPerChannel", "Int", Always, "0"},
          {"numChannels", "Int", Always, "0"},
          {"bufSize", "Int", Always, "0"},
          {"byteOrder", "Bool", Always, "false"},
          {"isFloat", "Bool", Always, "false"},
          {"colourSpace", "String", IfSet, ""},
          {"centerX", "Double", IfSet, "0"},
          {"centerY", "Double", IfSet, "0"},
          {"sizeX", "Double", IfSet, "0"},
          {"sizeY", "Double", IfSet, "0"}}},
        {"DmCueMark",
         {{"cueMarkName", "String", IfSet, ""},
          {"cueMarkComment", "String", IfSet, ""},
          {"cueMarkTime", "Double", IfSet, noTime},
          {"cueMarkColorRed", "Int", IfSet, "0"},
          {"cueMarkColorGreen", "Int", IfSet, "0"},
          {"cueMarkColorBlue", "Int", IfSet, "0"},
          {"cueMarkDuration", "Double", IfSet, "0"}}},
        {"DmAudioProperties",
         {{"samplingRate", "Double", Always, "0"},
          {"storageFormat", "String", IfSet, "unknown"},
          {"nbSamples", "UInt", Always, "0"},
          {"startSample", "UInt", Always, "0"},
          {"nbChannels", "Int", Always, "0"},
          {"channelIdx", "Int", Always, "0"}}},
        {"DmFrameNode",
         {{"frame", "Int", Always, "0"}, {"path", "String", IfSet, ""}, {"frameId", "UInt64", IfSet, "0"}}},
        {"MediaInput",
         input() + Properties{{"srcInStr", "String", IfSet, ""},
                              {"srcIn", "Double", Always, "0"},
                              {"srcInFcm", "String", IfSet, "???"},
                              {"srcInOffset", "Double", IfSet, "0"},
                              {"srcInfo", "Property-Set", Always, "null", "DmSourceInfo"},
                              {"extraDataDictionary", "Vector-Property-Set", IfSet, "0", "DictionaryEntry"}}},
        {"GeneratedInput", input() + Properties{{"inputType", "String", Always, "INPUT_BLACK"},
                                                {"inputColorRed", "Float", Always, "0"},
                                                {"inputColorGreen", "Float", Always, "0"},
                                                {"inputColorBlue", "Float", Always, "0"},
                                                {"inputColorAlpha", "Float", Always, "0"},
                                                {"inputPercentageRatio", "Float", Always, "0"},
                                                {"inputSoftness", "Int", Always, "0"},
                                                {"inputAudioFrequency", "Double", Always, "0"},
                                                {"inputAudioLevel", "Double", Always, "0"}}},
        {"DerivedInput", input() + Properties{{"srcInStr", "String", Always, ""},
                                              {"srcIn", "Double", Always, "0"},
                                              {"srcInfo", "Property-Set", Always, "null", "DmSourceInfo"},
                                              {"reelName", "String", Always, ""}}},
        {"RelinkedInput",
         input() + Properties{{"reelName", "String", Always, ""}, {"sourceName", "String", Always, ""}}},
        {"DictionaryEntry", {{"key", "String", IfSet, ""}, {"value", "String", IfSet, ""}}},
        {"DmSourceInfo",
         {{"sourceType", "Enum", Always, "0"},
          {"name", "String", IfSet, ""},
          {"reelName", "String", IfSet, ""},
          {"track", "Int", Always, "0"},
          {"mediaOrigin", "String", IfSet, ""},
          {"fileType", "Enum", IfSet, "0"},
          {"path", "String", IfSet, ""},
          {"fileList", "Vector-String", Always, "0"},
          {"fileSeqBegin", "Int", IfSet, "0"},
          {"fileSeqEnd", "Int", IfSet, "0"},
          {"essenceUID", "String", IfSet, ""},
          {"sourceUID", "String", IfSet, ""},
          {"originalSourceUID", "String", IfSet, ""},
          {"imageUseResize", "Bool", IfSet, "false"},
          {"imageResizeType", "String", IfSet, "RESIZE_INVALID_TYPE"},
          {"imageFilterType", "String", IfSet, "IP_FILTER_INVALID"},
          {"imageKeepAspect", "Bool", IfSet, "false"},
          {"imagePanX", "Int", IfSet, "0"},
          {"imagePanY", "Int", IfSet, "0"},
          {"imageLut", "String", IfSet, ""},
          {"imageChannels", "Enum", Always, "0"},
          {"softImport", "Bool", IfSet, "false"},
          {"PDCaptureMode", "Bool", IfSet, "false"},
          {"PDFrameType", "String", Always, ""},
          {"PDRefFrame", "Double", IfSet, "0"},
          {"PDDFRefFrame", "Double", IfSet, "0"},
          {"PDDropFrame", "Bool", IfSet, "false"},
          {"PDTimewarpSource", "Bool", IfSet, "false"},
          {"VaricamCaptureMode", "Bool", IfSet, "false"},
          {"VaricamTimecode", "Double", IfSet, "0"},
          {"VaricamFcm", "String", IfSet, "???"},
          {"kkInfo", "Property-Set", IfSet, "shared", "DmKKInfo"},
          {"sequence", "Vector-String", Always, "0"},
          {"ConsolidateOffset", "Double", IfSet, "0"},
          {"aafOptions", "CDATA", Always, ""},
          {"MIOInfo", "CDATA", Always, ""}}},
        {"DmKKInfo",
         {{"manuf", "Char", Always, "0"},
          {"filmID", "Char", Always, "0"},
          {"prefix", "Int", Always, "0"},
          {"count", "Int", Always, "0"},
          {"frame", "Int", Always, "0"},
          {"footRef", "Int", Always, "0"},
          {"filmGauge", "String", Always, ""},
          {"telecineSpeed", "String", Always, ""},
          {"isValid", "Bool", Always, "false"}}},
    };
}

DmString wide(const char* text)
{
    DmString result;
    EXPECT_TRUE(dmFromUtf8(text, result));
    return result;
}

/// A new object of a class; null when the factory does not know it.
DmPropertySetPtr fresh(const char* className)
{
    DmPropertySet* made = nullptr;
    const eDmErrorId status =
        DmPropertyFactory::getInstance().createPropertySetInstance(wide(className), DmNodeId(), 0, made);
    DmPropertySetPtr set(made);
    EXPECT_EQ(status, DM_NO_ERROR) << className;
    return set;
}

std::string valueText(const DmPropertySet& set, int index)
{
    const DmPropertyDef& def = *set.classData().at(index);
    int size = 0;
    if (set.getListSize(index, def._type, size) == DM_NO_ERROR)
        return std::to_string(size);
    if (def._type == DM_PROPERTY_SET)
    {
        const auto& held = *static_cast<const DmPropertySetPtr*>(set.fieldOf(index));
        return !held ? "null" : held->isFrozen() ? "shared" : "own";
    }
    if (def._type == DM_CHAR)
        return std::to_string(*static_cast<const signed char*>(set.fieldOf(index)));
    DmString text;
    EXPECT_EQ(set.getStrFromPropertyValue(index, def._type, text, nullptr), DM_NO_ERROR);
    return dmUtf8(text);
}

} // namespace

TEST(TreeClasses, HaveTheirPropertiesInOrder)
{
    for (const Class& c : classes())
    {
        const DmPropertySetPtr set = fresh(c.name);
        ASSERT_TRUE(set);
        EXPECT_EQ(dmUtf8(set->getPSetName()), c.name);
        EXPECT_EQ(set->classData().size(), static_cast<int>(c.properties.size())) << c.name;
        for (std::size_t i = 0; i < c.properties.size(); ++i)
        {
            const Property& expected = c.properties[i];
            SCOPED_TRACE(std::string(c.name) + "." + expected.name);
            const int index = static_cast<int>(i);
            const DmPropertyDef* const def = set->classData().at(index);
            ASSERT_TRUE(def);
            EXPECT_EQ(dmUtf8(def->_name), expected.name);
            EXPECT_EQ(dmUtf8(DmPSetHelper::getInstance().getStrFromType(def->_type)), expected.type);
            EXPECT_EQ(def->_skipIfDefault, expected.written == IfSet);
            EXPECT_EQ(set->isPropertyRelevant(index), expected.written == Always);
            EXPECT_EQ(dmUtf8(def->_held ? def->_held->name : L""), expected.holds);
            EXPECT_EQ(valueText(*set, index), expected.fresh);
        }
    }
}

TEST(TreeClasses, RefuseObjectsOfAnotherClassInTheirSlots)
{
    const DmPropertySetPtr key = fresh("DmKeyFrame");
    const DmPropertySetPtr blob = fresh("DmBlobNode");
    for (const Class& c : classes())
    {
        const DmPropertySetPtr set = fresh(c.name);
        for (const Property& property : c.properties)
        {
            const DmString name = wide(property.name);
            eDmPropType type = DM_NB_TYPES;
            ASSERT_EQ(set->getPropertyType(name, type), DM_NO_ERROR);
            const auto store = [&](const DmPropertySetPtr& value)
            {
                return type == DM_PROPERTY_SET ? set->setPropertyValue(name, type, &value)
                                               : set->addValueInPropertyList(name, type, &value);
            };
            if (type != DM_PROPERTY_SET && type != DM_VECTOR_PROPERTY_SET)
                continue;
            SCOPED_TRACE(std::string(c.name) + "." + property.name);
            const std::string holds = property.holds;
            EXPECT_EQ(store(key), holds.empty() ? DM_NO_ERROR : DM_BAD_PROPERTY_TYPE) << "a key frame";
            EXPECT_EQ(store(blob), holds.empty() || holds == "DmTreeNode" ? DM_NO_ERROR : DM_BAD_PROPERTY_TYPE)
                << "a node";
        }
    }
}

TEST(TreeClasses, KeepTheirKindWhateverADocumentSays)
{
    for (const Class& c : classes())
    {
        const auto treeNode = DM::dynamicPointerCast<DmTreeNode>(fresh(c.name));
        if (!treeNode)
            continue;
        SCOPED_TRACE(c.name);
        const int kind = std::stoi(c.properties[0].fresh);
        EXPECT_EQ(treeNode->whatIs(), kind);
        const std::int32_t other = kind ^ 1;
        EXPECT_EQ(treeNode->setPropertyValue(L"classId", DM_ENUM, &other), DM_BAD_VALUE);
        EXPECT_EQ(treeNode->setPropertyValue(L"classId", &other), DM_BAD_VALUE);
        EXPECT_EQ(treeNode->setPropertyValueFromStr(L"classId", wide(std::to_string(other).c_str())), DM_BAD_VALUE);
        EXPECT_EQ(treeNode->setPropertyValueFromStr(L"classId", wide(c.properties[0].fresh)), DM_NO_ERROR);
        EXPECT_EQ(treeNode->whatIs(), kind);
        EXPECT_EQ(treeNode->isSegment(), kind == 3 || kind == 4 || kind == 5);
        EXPECT_EQ(treeNode->isTransition(), kind == 6 || kind == 7);
    }
}

TEST(TreeClasses, OfInputsHaveASecondNameThatIsNeverWritten)
{
    for (const char* const name : {"MediaInput", "GeneratedInput", "DerivedInput", "RelinkedInput", "DictionaryEntry"})
    {
        const DmPropertySetPtr set = fresh((std::string("DmSourceNode::") + name).c_str());
        ASSERT_TRUE(set);
        EXPECT_EQ(dmUtf8(set->getPSetName()), name);
        EXPECT_EQ(&set->classData(), &fresh(name)->classData());
    }
    for (const wchar_t* const name : {L"Input", L"DmSourceNode::Input", L"DmSegmentNode", L"DmTreeNode"})
        EXPECT_FALSE(DmPropertyFactory::getInstance().findCreator(name)) << "abstract";
    for (const DmString& name : DmPropertyFactory::getInstance().classNames())
        EXPECT_EQ(name.view().find(L':'), std::wstring_view::npos) << dmUtf8(name);
}

namespace
{

/// Writes the name of the function that was called.
class CallLog : public DmTreeVisitor
{
public:
    CallLog()
        : DmTreeVisitor("CallLog")
    {
    }

    void visitCompositionNode(DmCompositionNode*) override { calls += "composition "; }
    void visitTrackNode(DmTrackNode*) override { calls += "track "; }
    void visitLayerNode(DmLayerNode*) override { calls += "layer "; }
    void visitTransitionNode(DmTransitionNode*) override { calls += "transition "; }
    void visitCutNode(DmCutNode*) override { calls += "cut "; }
    void visitTrxEffectNode(DmTrxEffectNode*) override { calls += "trxEffect "; }
    void visitSegmentNode(DmSegmentNode*) override { calls += "segment "; }
    void visitSourceNode(DmSourceNode*) override { calls += "source "; }
    void visitContainerNode(DmContainerNode*) override { calls += "container "; }
    void visitGapNode(DmGapNode*) override { calls += "gap "; }
    void visitBlobNode(DmBlobNode*) override { calls += "blob "; }
    void visitBatchFxNode(DmBatchFxNode*) override { calls += "batchFx "; }
    void visitReelNode(DmReelNode*) override { calls += "reel "; }
    void visitRootNode(DmRoot*) override { calls += "root "; }
    void postProcessCompositionNode(DmCompositionNode*) override { calls += "/composition"; }
    void postProcessTrackNode(DmTrackNode*) override { calls += "/track"; }
    void postProcessLayerNode(DmLayerNode*) override { calls += "/layer"; }
    void postProcessReelNode(DmReelNode*) override { calls += "/reel"; }
    void postProcessRootNode(DmRoot*) override { calls += "/root"; }

    std::string calls;
};

} // namespace

TEST(TreeVisitor, IsCalledForTheNodesOwnClassOnly)
{
    const struct
    {
        const char* className;
        const char* calls;
    } cases[] = {{"DmRoot", "root /root"},
                 {"DmReelNode", "reel /reel"},
                 {"DmCompositionNode", "composition /composition"},
                 {"DmTrackNode", "track /track"},
                 {"DmLayerNode", "layer /layer"},
                 {"DmSourceNode", "source "},
                 {"DmContainerNode", "container "},
                 {"DmGapNode", "gap "},
                 {"DmBatchFxNode", "batchFx "},
                 {"DmCutNode", "cut "},
                 {"DmTrxEffectNode", "trxEffect "},
                 {"DmBlobNode", "blob "}};
    for (const auto& c : cases)
    {
        CallLog log;
        const auto treeNode = DM::dynamicPointerCast<DmTreeNode>(fresh(c.className));
        treeNode->accept(log);
        treeNode->postProcess(log);
        EXPECT_EQ(log.calls, c.calls);
    }
}
