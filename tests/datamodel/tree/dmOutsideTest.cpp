// A program of somebody else, which is built with hidden visibility and makes objects by their public constructors.
#include <ZRdmtree.h>

#include <gtest/gtest.h>

#include <set>

namespace
{

struct Outside
{
    int before = 0; ///< properties of an object that was made before the factory made one
    int after = 0;  ///< of the same object, when the factory had
    int fresh = 0;  ///< of one that was made then
    int made = 0;   ///< of the factory's
    std::string json;
    std::string madeJson;
};

std::string jsonOf(const DmPropertySetPtr& set)
{
    const CoSharedPtr<DmRoot> root = DmRoot::create();
    const CoSharedPtr<DmBlobNode> carrier = DmBlobNode::create();
    EXPECT_EQ(carrier->setBaseBlob(set), DM_NO_ERROR);
    root->addChild(carrier);
    std::string text;
    EXPECT_TRUE(DmTreeJsonBuilder::generateUtf8(root.get(), text).ok());
    return text;
}

template <class T>
Outside look()
{
    Outside seen;
    const CoSharedPtr<T> early(new T(DmNodeId()));
    seen.before = early->classData().size();
    DmPropertySet* made = nullptr;
    EXPECT_EQ(DmPropertyFactory::getInstance().createPropertySetInstance(T::className, DmNodeId(), 0, made),
              DM_NO_ERROR);
    const DmPropertySetPtr kept(made);
    const CoSharedPtr<T> fresh(new T(DmNodeId()));
    seen.after = early->classData().size();
    seen.fresh = fresh->classData().size();
    seen.made = kept->classData().size();
    EXPECT_EQ(&kept->classData(), DmPropertySetInit<T>::data().get());
    seen.json = jsonOf(fresh);
    seen.madeJson = jsonOf(kept);
    return seen;
}

template <class... T>
void checkAll()
{
    std::set<std::string> names;
    for (const auto& [name, seen] : {std::pair(dmUtf8(T::className), look<T>())...})
    {
        SCOPED_TRACE(name);
        EXPECT_TRUE(seen.before == 0 || seen.before == seen.made); // 0: nothing had asked for one before
        EXPECT_TRUE(seen.made > 0 && seen.after == seen.made && seen.fresh == seen.made);
        EXPECT_EQ(seen.json, seen.madeJson);
        names.insert(name);
    }
    std::set<std::string> known;
    for (const DmString& name : DmPropertyFactory::getInstance().classNames())
        known.insert(dmUtf8(name));
    EXPECT_EQ(names, known);
}

} // namespace

TEST(Outside, ObjectsOfPublicConstructorsHaveTheirClassesProperties)
{
    checkAll<DmADissolveSettings, DmATimewarpSettings, DmAngularMaskSettings, DmAnimationChannel, DmAnnotationSettings,
             DmAudioCompressionSettings, DmAudioDeEsserSettings, DmAudioDelaySendSettings, DmAudioEQSettings,
             DmAudioGainSettings, DmAudioGateSettings, DmAudioModSendSettings, DmAudioProperties,
             DmAudioReverbSendSettings, DmAxisSettings, DmBatchFxNode, DmBlobNode, DmColourSettings, DmCompSettings,
             DmCompositionNode, DmContainerNode, DmCueMark, DmCutNode, DmDDTransformSettings, DmDefaultFxSettings,
             DmEffectLayer, DmFlipSettings, DmFrameNode, DmFrameResolution, DmGapNode, DmIdentification, DmKKInfo,
             DmKeyFrame, DmLayerNode, DmLookSettings, DmMediaNode, DmPPFxActionSettings, DmPPFxCCSettings,
             DmPPFxCWSettings, DmPPFxCompSettings, DmPPFxFlexletSettings, DmPPFxLetterboxSettings, DmPPFxResizeSettings,
             DmPPFxSettings, DmPPFxStereoToolboxSettings, DmPPFxTWSettings, DmPaintLayer, DmPoint, DmQuillSettings,
             DmReelNode, DmResizeSettings, DmRoot, DmSVGSettings, DmSimpleChannel, DmSourceInfo, DmSourceNode,
             DmSourceNode::DerivedInput, DmSourceNode::DictionaryEntry, DmSourceNode::GeneratedInput,
             DmSourceNode::MediaInput, DmSourceNode::RelinkedInput, DmStroke, DmTextLayer, DmTextParagraph,
             DmTextSettings, DmTrackNode, DmTrxEffectNode, DmVDissolveSettings, DmVTimewarpSettings, DmWipeSettings>();
}

TEST(Outside, SharedDefaultsAreTheLibrarysOwn)
{
    const CoSharedPtr<DmCompositionNode> composition = DmCompositionNode::create();
    const auto& constant = static_cast<const DmCompositionNode&>(*composition);
    EXPECT_EQ(constant.getResolution(), dmSharedDefault<DmFrameResolution>().get());
    EXPECT_EQ(DmSourceInfo::create()->classData().size(), dmSharedDefault<DmSourceInfo>()->classData().size());
}
