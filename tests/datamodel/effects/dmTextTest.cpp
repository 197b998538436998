/// What is particular to text and paint effects: their lists, and what a paragraph reads from its channels.
#include "dmAnnotationSettings.h"
#include "dmPaintLayer.h"
#include "dmTextSettings.h"
#include "effectTools.h"

#include <functional>
#include <limits>

namespace
{

using Id = DmTextParagraph::ChannelId;

std::vector<float> componentsOf(const DmTextColor& color)
{
    return {color.red, color.green, color.blue, color.opacity};
}

CoSharedPtr<DmTextSettings> titles()
{
    const auto paragraph = DmTextParagraph::create();
    EXPECT_EQ(paragraph->setTextStr(L"Été"), DM_NO_ERROR);
    EXPECT_EQ(paragraph->getChannel(Id::fontSize)->addKeyFrame(key(3)), DM_NO_ERROR);
    const auto layer = DmTextLayer::create();
    EXPECT_EQ(layer->addParagraph(paragraph), DM_NO_ERROR);
    auto effect = DmTextSettings::create();
    EXPECT_EQ(effect->addLayer(layer), DM_NO_ERROR);
    return effect;
}

CoSharedPtr<DmAnnotationSettings> drawing()
{
    const auto stroke = DmStroke::create();
    EXPECT_EQ(stroke->addPoint(DmPoint::create()), DM_NO_ERROR);
    const auto layer = DmPaintLayer::create();
    EXPECT_EQ(layer->addStroke(stroke), DM_NO_ERROR);
    auto effect = DmAnnotationSettings::create();
    EXPECT_EQ(effect->addLayer(layer), DM_NO_ERROR);
    return effect;
}

DmPaintLayer& paintOf(const DmAnnotationSettings& effect)
{
    return dynamic_cast<DmPaintLayer&>(*effect.getLayer(0));
}

/// What holds for every list: order, ends, listeners, clear, and the class of its elements.
template <class Owner, class Element, class Add, class Count, class At>
void tryList(const wchar_t* property, Add add, Count count, At at)
{
    SCOPED_TRACE(property);
    const auto owner = Owner::create();
    const auto first = Element::create();
    const auto second = Element::create();
    const ChangeLog log(*owner);
    EXPECT_EQ(std::invoke(add, *owner, first), DM_NO_ERROR);
    EXPECT_EQ(std::invoke(add, *owner, second), DM_NO_ERROR);
    const DmPropertySetPtr stray(DmSimpleChannel::create());
    EXPECT_EQ(owner->addValueInPropertyList(property, DM_VECTOR_PROPERTY_SET, &stray), DM_BAD_PROPERTY_TYPE);
    EXPECT_EQ(std::invoke(count, *owner), 2);
    EXPECT_EQ(std::invoke(at, *owner, 0), first);
    EXPECT_EQ(std::invoke(at, *owner, 1), second);
    for (const int outside : {-1, 2, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        EXPECT_EQ(std::invoke(at, *owner, outside), nullptr) << outside;
    EXPECT_EQ(owner->clear(), DM_NO_ERROR);
    EXPECT_EQ(std::invoke(count, *owner), 0);
    EXPECT_EQ(log.changes, std::vector<std::wstring>(3, property));
}

} // namespace

TEST(TextAndPaint, ListsKeepTheirOrderAndTheirClass)
{
    tryList<DmTextSettings, DmTextLayer>(L"layers", &DmTextSettings::addLayer, &DmTextSettings::getNbLayers,
                                         &DmTextSettings::getLayer);
    tryList<DmTextLayer, DmTextParagraph>(L"paragraphs", &DmTextLayer::addParagraph, &DmTextLayer::getNbParagraphs,
                                          &DmTextLayer::getParagraph);
    tryList<DmAnnotationSettings, DmPaintLayer>(L"layers", &DmAnnotationSettings::addLayer,
                                                &DmAnnotationSettings::getNbLayers, &DmAnnotationSettings::getLayer);
    tryList<DmPaintLayer, DmStroke>(L"strokes", &DmPaintLayer::addStroke, &DmPaintLayer::getNbStrokes,
                                    &DmPaintLayer::getStroke);
    tryList<DmStroke, DmPoint>(L"points", &DmStroke::addPoint, &DmStroke::getNbPoints, &DmStroke::getPoint);
    EXPECT_EQ(DmAnnotationSettings::create()->addLayer(nullptr), DM_BAD_VALUE);
}

TEST(TextLayerDeathTest, ANullParagraphStops)
{
    const auto layer = DmTextLayer::create();
    EXPECT_DEATH(static_cast<void>(layer->addParagraph(nullptr)), "addParagraph.*`paragraph'");
}

TEST(TextAndPaint, AClonesPartsAreItsOwnInAnyDepth)
{
    const auto text = titles();
    const auto textClone = DM::staticPointerCast<DmTextSettings>(text->clone());
    EXPECT_EQ(difference(*text, *textClone), "");
    EXPECT_TRUE(heldByBoth(*text, *textClone).empty());
    const auto paragraph = textClone->getLayer(0)->getParagraph(0);
    EXPECT_EQ(paragraph->getExistingChannel(Id::fontSize)->getKeyFrame(0)->setValue(7), DM_NO_ERROR);
    EXPECT_EQ(difference(*text, *textClone),
              R"(layers[0]/paragraphs[0]/channelList["fontSize"]/keyFrameList[0]/value)");

    const auto paint = drawing();
    const auto paintClone = DM::staticPointerCast<DmAnnotationSettings>(paint->clone());
    EXPECT_EQ(difference(*paint, *paintClone), "");
    EXPECT_TRUE(heldByBoth(*paint, *paintClone).empty());
    EXPECT_EQ(paintOf(*paint).getStroke(0)->getPoint(0)->setWidth(2.5), DM_NO_ERROR);
    EXPECT_EQ(difference(*paint, *paintClone), "layers[0]/strokes[0]/points[0]/width");
    EXPECT_EQ(paintOf(*paintClone).getStroke(0)->clear(), DM_NO_ERROR);
    EXPECT_EQ(paintOf(*paint).getStroke(0)->getNbPoints(), 1);
}

TEST(TextParagraph, ReadsKeysAtTheirFrameAndConstantsElsewhere)
{
    const struct
    {
        DmTextColor (DmTextParagraph::*color)(float) const;
        Id channels[4];
    } rows[] = {
        {&DmTextParagraph::getFontColor, {Id::fontColorRed, Id::fontColorGreen, Id::fontColorBlue, Id::fontOpacity}},
        {&DmTextParagraph::getOutColor, {Id::outColorRed, Id::outColorGreen, Id::outColorBlue, Id::outOpacity}},
        {&DmTextParagraph::getUnderlineColor,
         {Id::underlineColorRed, Id::underlineColorGreen, Id::underlineColorBlue, Id::underlineOpacity}},
        {&DmTextParagraph::getDropShadowColor,
         {Id::dropShadowColorRed, Id::dropShadowColorGreen, Id::dropShadowColorBlue, Id::dropShadowOpacity}}};
    const auto paragraph = DmTextParagraph::create();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    using Components = std::vector<float>;
    for (const auto& row : rows)
    {
        const auto at = [&](float frame) { return componentsOf(((*paragraph).*row.color)(frame)); };
        EXPECT_EQ(at(0), Components(4, 0));
        DmStringArray names;
        paragraph->getChannelNames(names);
        const unsigned before = names.size();
        EXPECT_EQ(before % 4, 0U) << "reading made a channel";
        for (int i = 0; i < 4; ++i)
        {
            const auto channel = paragraph->getChannel(row.channels[i]);
            EXPECT_EQ(channel->setValue(static_cast<float>(i) / 4), DM_NO_ERROR);
            for (const float frame : {nan, 9.0F, static_cast<float>(i)})
                EXPECT_EQ(channel->addKeyFrame(key(frame)), DM_NO_ERROR);
        }
        EXPECT_EQ(at(9), Components(4, 90));
        EXPECT_EQ(at(2), (Components{0, 0.25F, 20, 0.75F}));
        EXPECT_EQ(at(2.5F), (Components{0, 0.25F, 0.5F, 0.75F})) << "nothing is interpolated";
        EXPECT_EQ(at(nan), (Components{0, 0.25F, 0.5F, 0.75F}));
    }

    const DmPropertySetPtr null;
    EXPECT_EQ(
        paragraph->setValueFromPropertyMap(DmEffectSettings::ChannelList, DM_MAP_PROPERTY_SET, L"rotation", &null),
        DM_NO_ERROR);
    EXPECT_EQ(paragraph->getRotation(0), 0);
    EXPECT_EQ(paragraph->getChannel(Id::fontSize)->setValue(48), DM_NO_ERROR);
    EXPECT_EQ(paragraph->getChannel(Id::fontLeading)->addKeyFrame(key(6)), DM_NO_ERROR);
    EXPECT_EQ(paragraph->getChannel(Id::rotation)->addKeyFrame(key(-2)), DM_NO_ERROR);
    EXPECT_EQ(paragraph->getFontSize(0), 48);
    EXPECT_EQ(paragraph->getFontLeading(6), 60);
    EXPECT_EQ(paragraph->getFontLeading(5), 0);
    EXPECT_EQ(paragraph->getRotation(-2), -20);
}
