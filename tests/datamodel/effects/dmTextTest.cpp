/// What is particular to text and paint effects: their lists, and what a paragraph reads from its channels.
#include "effectTools.h"

namespace
{

using Id = DmTextParagraph::ChannelId;

/// What holds for every list: order, ends, listeners and clear.
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

TEST(TextAndPaint, ListsKeepTheirOrder)
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
    const auto paragraph = DmTextParagraph::create();
    const auto textLayer = DmTextLayer::create();
    const auto text = DmTextSettings::create();
    const auto stroke = DmStroke::create();
    const auto paintLayer = DmPaintLayer::create();
    const auto paint = DmAnnotationSettings::create();
    for (const eDmErrorId status :
         {paragraph->setTextStr(L"Été"), paragraph->getChannel(Id::fontSize)->addKeyFrame(key(3)),
          textLayer->addParagraph(paragraph), text->addLayer(textLayer), stroke->addPoint(DmPoint::create()),
          paintLayer->addStroke(stroke), paint->addLayer(paintLayer)})
        EXPECT_EQ(status, DM_NO_ERROR);
    for (const DmPropertySetPtr& effect : {stored(text), stored(paint)})
    {
        const DmPropertySetPtr clone = effect->clone();
        EXPECT_EQ(difference(*effect, *clone), "");
        EXPECT_TRUE(heldByBoth(*effect, *clone).empty());
    }
    const DmPropertySetPtr clone = paint->clone();
    EXPECT_EQ(stroke->getPoint(0)->setWidth(2.5), DM_NO_ERROR);
    EXPECT_EQ(difference(*paint, *clone), "layers[0]/strokes[0]/points[0]/width");
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
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    using Components = std::vector<float>;
    for (const auto& row : rows)
    {
        const auto at = [&](float frame)
        {
            const DmTextColor color = ((*paragraph).*row.color)(frame);
            return Components{color.red, color.green, color.blue, color.opacity};
        };
        EXPECT_EQ(at(0), Components(4, 0));
        EXPECT_FALSE(paragraph->getExistingChannel(row.channels[0])) << "reading made a channel";
        for (int i = 0; i < 4; ++i)
        {
            const auto channel = paragraph->getChannel(row.channels[i]);
            EXPECT_EQ(channel->setValue(static_cast<float>(i) / 4), DM_NO_ERROR);
            EXPECT_EQ(channel->addKeyFrame(key(static_cast<float>(i))), DM_NO_ERROR);
        }
        EXPECT_EQ(at(2), (Components{0, 0.25F, 20, 0.75F}));
        EXPECT_EQ(at(2.5F), (Components{0, 0.25F, 0.5F, 0.75F})) << "nothing is interpolated";
        EXPECT_EQ(at(nan), (Components{0, 0.25F, 0.5F, 0.75F}));
    }

    const DmPropertySetPtr null;
    EXPECT_EQ(
        paragraph->setValueFromPropertyMap(DmEffectSettings::ChannelList, DM_MAP_PROPERTY_SET, L"rotation", &null),
        DM_NO_ERROR);
    EXPECT_EQ(paragraph->getRotation(0), 0);
    const float values[] = {48, 60, -20};
    const Id ids[] = {Id::fontSize, Id::fontLeading, Id::rotation};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(paragraph->getChannel(ids[i])->setValue(values[i]), DM_NO_ERROR);
    EXPECT_EQ((Components{paragraph->getFontSize(0), paragraph->getFontLeading(0), paragraph->getRotation(0)}),
              Components(std::begin(values), std::end(values)));
}
