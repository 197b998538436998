/// Every class of node and record with its properties: names and types are what documents are made of.
#include <ZRdmtree.h>

#include <gtest/gtest.h>

namespace
{

/// A class with its properties in order, each by its type (of class <slot>; ? when it is left out of documents where
/// it has its default), name and what a fresh object holds: the text of a value, the code of a character; "shared" (the
/// frozen default) or "own" for a nested set; nothing for the text, number, list or set that is empty.
struct Class
{
    const char* name;
    std::string properties;
};

std::string node(int kind)
{
    return "Enum classId" + (kind == 0 ? "" : " = " + std::to_string(kind)) +
           ", String name = untitled, String comment, Property-Set baseBlob";
}

std::string collection(int kind)
{
    return node(kind) + ", Vector-Property-Set<DmTreeNode> children";
}

std::string segment(int kind)
{
    return node(kind) +
           ", Double? recIn, Double? recLength, Double? relIn, "
           "Vector-Property-Set<DmEffectSettings> effects, Vector-Property-Set<DmCueMark> segmentMarks, "
           "Enum mediaType, String originalID, String segmentId, Vector-String segmentPreviousIds, String shotName, "
           "Bool? muted";
}

std::string transition(int kind)
{
    return node(kind) + ", Double? recIn, Double? recLength, Double? relIn, Enum mediaType";
}

const std::string input =
    "String? name, Enum mediaType, Double srcLength, String? srcFcm = ???, "
    "Property-Set<DmFrameResolution> primaryResolution, Vector-Property-Set<DmFrameNode> primaryFrames, "
    "Property-Set<DmFrameResolution>? altResolution = shared, Vector-Property-Set<DmFrameNode> altFrames, "
    "Property-Set<DmAudioProperties>? audioProperties = shared, Vector-Property-Set<DmFrameNode> audioFrames, "
    "Bool processed, String? comment, Enum? anamorphicFlag, Bool? hasMedia";

const Class classes[] = {
    {"DmRoot", collection(10) + ", Property-Set<DmIdentification> identification = own"},
    {"DmReelNode", collection(9)},
    {"DmCompositionNode",
     collection(0) +
         ", String? fcm = ???, Double? compLength, "
         "Property-Set<DmFrameResolution>? resolution = shared, "
         "Property-Set<DmFrameResolution>? altResolution = shared, Double? samplingRate, String startTCStr, "
         "Double startTC, String? startTcFcm = ???, Vector-Property-Set<DmCueMark> cueMarks, "
         "Double? inMark = 2147483647, Double? outMark = 2147483647, Enum origin, Double? embInMark = 2147483647, "
         "Double? embOutMark = 2147483647, Bool? isContainerComp, Bool? isMatteContainerComp, "
         "Bool? isSubClipContainerComp, String currentVersionUid, String currentVersionName, String? colourSpace, "
         "Int? primaryVideoTrackIndex = -1, Int? secondaryVideoTrackIndex = -1"},
    {"DmTrackNode", collection(1) + ", Int trackNum, Int trackChannel, Enum mediaType, Bool hasStereoFx"},
    {"DmLayerNode", collection(2) + ", Int layerNum, Enum mediaType, Double layerStartTC, Double layerLength, "
                                    "Int layerStereoOutputChannel, Bool isResultLayer"},
    {"DmSourceNode", segment(3) + ", Property-Set<Input> srcInput, Vector-Property-Set<Input>? srcMultiInput, "
                                  "Bool? isMultiChannel, Double? fxChecksum = 2147483647"},
    {"DmContainerNode", segment(4) + ", Property-Set<DmCompositionNode> composition"},
    {"DmGapNode", segment(5)},
    {"DmCutNode", transition(6)},
    {"DmTrxEffectNode", transition(7) + ", Property-Set<DmEffectSettings> effect"},
    {"DmBlobNode", node(8) + ", String? blobType, CDATA data"},
    {"DmBatchFxNode", segment(11) + ", String? setupFileName, CDATA setup"},
    {"DmIdentification",
     "String name, String ipAddress, String host, String osName, String manuf, "
     "String appName, String appVersion, String date, String time, String user, String filePathsRoot, "
     "String companyName, Int? appMajorVersion, Int? appMinorVersion, Int? appTertiaryVersion, "
     "Int? appPatchVersion, String? appVersionType"},
    {"DmFrameResolution",
     "Int width, Int height, Float ratio, String scanFormat, Int bitsPerPixel, "
     "Int bitsPerChannel, Int numChannels, Int bufSize, Bool byteOrder, Bool isFloat, String? colourSpace, "
     "Double? centerX, Double? centerY, Double? sizeX, Double? sizeY"},
    {"DmCueMark", "String? cueMarkName, String? cueMarkComment, Double? cueMarkTime = 2147483647, "
                  "Int? cueMarkColorRed, Int? cueMarkColorGreen, Int? cueMarkColorBlue, Double? cueMarkDuration"},
    {"DmAudioProperties", "Double samplingRate, String? storageFormat = unknown, UInt nbSamples, "
                          "UInt startSample, Int nbChannels, Int channelIdx"},
    {"DmFrameNode", "Int frame, String? path, UInt64? frameId"},
    {"MediaInput", input +
                       ", String? srcInStr, Double srcIn, String? srcInFcm = ???, Double? srcInOffset, "
                       "Property-Set<DmSourceInfo> srcInfo, Vector-Property-Set<DictionaryEntry>? extraDataDictionary"},
    {"GeneratedInput",
     input + ", String inputType = INPUT_BLACK, Float inputColorRed, Float inputColorGreen, "
             "Float inputColorBlue, Float inputColorAlpha, Float inputPercentageRatio, Int inputSoftness, "
             "Double inputAudioFrequency, Double inputAudioLevel"},
    {"DerivedInput", input + ", String srcInStr, Double srcIn, Property-Set<DmSourceInfo> srcInfo, String reelName"},
    {"RelinkedInput", input + ", String reelName, String sourceName"},
    {"DictionaryEntry", "String? key, String? value"},
    {"DmSourceInfo",
     "Enum sourceType, String? name, String? reelName, Int track, String? mediaOrigin, "
     "Enum? fileType, String? path, Vector-String fileList, Int? fileSeqBegin, Int? fileSeqEnd, "
     "String? essenceUID, String? sourceUID, String? originalSourceUID, Bool? imageUseResize, "
     "String? imageResizeType = RESIZE_INVALID_TYPE, String? imageFilterType = IP_FILTER_INVALID, "
     "Bool? imageKeepAspect, Int? imagePanX, Int? imagePanY, String? imageLut, Enum imageChannels, "
     "Bool? softImport, Bool? PDCaptureMode, String PDFrameType, Double? PDRefFrame, Double? PDDFRefFrame, "
     "Bool? PDDropFrame, Bool? PDTimewarpSource, Bool? VaricamCaptureMode, Double? VaricamTimecode, "
     "String? VaricamFcm = ???, Property-Set<DmKKInfo>? kkInfo = shared, Vector-String sequence, "
     "Double? ConsolidateOffset, CDATA aafOptions, CDATA MIOInfo"},
    {"DmKKInfo", "Char manuf, Char filmID, Int prefix, Int count, Int frame, Int footRef, String filmGauge, "
                 "String telecineSpeed, Bool isValid"},
};

/// A new object of a class; null when the factory does not know it.
DmPropertySetPtr fresh(const DmString& className)
{
    DmPropertySet* made = nullptr;
    const eDmErrorId status =
        DmPropertyFactory::getInstance().createPropertySetInstance(className, DmNodeId(), 0, made);
    DmPropertySetPtr set(made);
    EXPECT_EQ(status, DM_NO_ERROR) << dmUtf8(className);
    return set;
}

DmString wide(const std::string& text)
{
    return std::wstring(text.begin(), text.end()).c_str();
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
        return !held ? "" : held->isFrozen() ? "shared" : "own";
    }
    if (def._type == DM_CHAR)
        return std::to_string(*static_cast<const signed char*>(set.fieldOf(index)));
    DmString text;
    EXPECT_EQ(set.getStrFromPropertyValue(index, def._type, text, nullptr), DM_NO_ERROR);
    return dmUtf8(text);
}

std::string described(const DmPropertySet& set)
{
    std::string text;
    for (int i = 0; i < set.classData().size(); ++i)
    {
        const DmPropertyDef& def = *set.classData().at(i);
        EXPECT_EQ(set.isPropertyRelevant(i), !def._skipIfDefault) << dmUtf8(def._name);
        text += (i > 0 ? ", " : "") + dmUtf8(DmPSetHelper::getInstance().getStrFromType(def._type));
        text += def._held ? '<' + dmUtf8(def._held->name) + '>' : "";
        text += (def._skipIfDefault ? "? " : " ") + dmUtf8(def._name);
        const std::string value = valueText(set, i);
        text += value.empty() || value == "0" || value == "false" ? "" : " = " + value;
    }
    return text;
}

} // namespace

TEST(TreeClasses, HaveTheirPropertiesInOrder)
{
    for (const Class& c : classes)
    {
        const DmPropertySetPtr set = fresh(wide(c.name));
        ASSERT_TRUE(set);
        EXPECT_EQ(dmUtf8(set->getPSetName()), c.name);
        EXPECT_EQ(described(*set), c.properties) << c.name;
    }
}

TEST(TreeClasses, RefuseObjectsOfAnotherClassInTheirSlots)
{
    const DmPropertySetPtr key = fresh(L"DmKeyFrame");
    const DmPropertySetPtr blob = fresh(L"DmBlobNode");
    for (const Class& c : classes)
    {
        const DmPropertySetPtr set = fresh(wide(c.name));
        for (int i = 0; i < set->classData().size(); ++i)
        {
            const DmPropertyDef& def = *set->classData().at(i);
            const bool isList = def._type == DM_VECTOR_PROPERTY_SET;
            if (def._type != DM_PROPERTY_SET && !isList)
                continue;
            const auto store = [&](const DmPropertySetPtr& value) {
                return isList ? set->addValueInPropertyList(i, def._type, &value)
                              : set->setPropertyValue(i, def._type, &value);
            };
            const DmString slot = def._held ? def._held->name : L"";
            EXPECT_EQ(store(key), slot.empty() ? DM_NO_ERROR : DM_BAD_PROPERTY_TYPE) << c.name << ' ' << def._utf8Name;
            // Three classes hold some nodes only.
            const bool holdsSome = std::string_view(c.name) == "DmCompositionNode" ||
                                   std::string_view(c.name) == "DmTrackNode" ||
                                   std::string_view(c.name) == "DmLayerNode";
            EXPECT_EQ(store(blob),
                      slot.empty() || (slot == L"DmTreeNode" && !holdsSome) ? DM_NO_ERROR : DM_BAD_PROPERTY_TYPE)
                << c.name << ' ' << def._utf8Name;
        }
    }
}

TEST(TreeClasses, KeepTheirKindWhateverADocumentSays)
{
    for (const Class& c : classes)
    {
        const auto treeNode = DM::dynamicPointerCast<DmTreeNode>(fresh(wide(c.name)));
        if (!treeNode)
            continue;
        SCOPED_TRACE(c.name);
        const int kind = treeNode->whatIs();
        EXPECT_EQ(std::to_string(kind), valueText(*treeNode, 0));
        const std::int32_t other = kind ^ 1;
        EXPECT_EQ(treeNode->setPropertyValue(L"classId", DM_ENUM, &other), DM_BAD_VALUE);
        EXPECT_EQ(treeNode->setPropertyValue(L"classId", &other), DM_BAD_VALUE);
        EXPECT_EQ(treeNode->setPropertyValueFromStr(L"classId", wide(std::to_string(other))), DM_BAD_VALUE);
        EXPECT_EQ(treeNode->setPropertyValueFromStr(L"classId", wide(std::to_string(kind))), DM_NO_ERROR);
        EXPECT_EQ(treeNode->whatIs(), kind);
        EXPECT_EQ(treeNode->isSegment(), kind == 3 || kind == 4 || kind == 5);
        EXPECT_EQ(treeNode->isTransition(), kind == 6 || kind == 7);
    }
}

TEST(TreeClasses, OfInputsHaveASecondNameThatIsNeverWritten)
{
    for (const wchar_t* const name :
         {L"MediaInput", L"GeneratedInput", L"DerivedInput", L"RelinkedInput", L"DictionaryEntry"})
        EXPECT_EQ(fresh((std::wstring(L"DmSourceNode::") + name).c_str())->getPSetName(), name);
    for (const wchar_t* const name : {L"Input", L"DmSourceNode::Input", L"DmSegmentNode", L"DmTreeNode"})
        EXPECT_FALSE(DmPropertyFactory::getInstance().findCreator(name)) << "abstract";
    for (const DmString& name : DmPropertyFactory::getInstance().classNames())
        EXPECT_EQ(name.view().find(L':'), std::wstring_view::npos) << dmUtf8(name);
}
