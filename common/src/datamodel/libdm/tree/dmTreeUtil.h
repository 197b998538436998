/// The rules of a timeline's structure, and the visitor that checks them.
///
///     DmValidationVisitor visitor(DM_VALIDATE_ALL);
///     if (DmPreIt(composition).apply(visitor) != DM_NO_ERROR || !visitor.isValid())
///         ...   // the first rule that is broken has been posted as an error
///
/// Usually through DmTreeTool (dmTreeTool.h): isValidTree for a yes or no, findViolations for all that is wrong.
#pragma once

#include "dmMediaType.h"
#include "dmNoTime.h"
#include "dmTreeVisitor.h"

#include "dmString.h"

#include <memory>
#include <string>
#include <vector>

class DmCompositionNode;
class DmEffectSettings;
template <class Kept>
class DmIdTable;

/// What is checked beside the rules that always hold; the sum of some of these.
enum eDmValidationOption : unsigned
{
    DM_VALIDATE_DURATIONS = 1,   ///< lengths of transition effects, and the compositions of containers
    DM_VALIDATE_SEGMENT_IDS = 8, ///< no "segmentId" twice in a composition
    DM_VALIDATE_ORDER = 16,      ///< no segment of a layer begins before the one in front of it has ended
    DM_VALIDATE_ALL = 255
};

/// Where a validation is, in the words of its report.
struct DmValidationPlace
{
    int trackIndex = 0; ///< the track's "trackNum"; where the composition itself is to blame, the position of its child
    int layerIndex = 0; ///< the layer's "layerNum"; where the track itself is to blame, the position of its child
    eDmTreeMediaType mediaType = DM_MEDIA_UNDEFINED; ///< of the track
    int elementIndex = 0;                            ///< position in the layer
    double recordFrame = dmNoTime;                   ///< "recIn" of the element
    DmString effectName{L"n/a"};                     ///< of an effect that is to blame
};

/// One rule that one node breaks.
struct DmTreeViolation
{
    /// The node or effect, from the composition on: "children[0]/children[2]/children[5]/effects[0]"; empty for the
    /// composition itself.
    std::string path;
    DmString message;
    DmValidationPlace place;
    /// The label of the element's record time in its own composition; empty where no element is to blame.
    std::string record;
};

/// Checks the nodes that it visits against the rules of their classes. It stops the walk at the first rule that is
/// broken: posts it as an error, and answers false from then on. Changes nothing.
///
/// It is for walks that do not go into containers: it validates what they hold itself, where its options ask for it. A
/// composition that holds itself, on whatever way, or that is nested too deep for documents (dmMaxNesting), makes the
/// container that leads into it invalid whatever the options are.
///
/// Where the walk is in a layer it learns from its path: outside a walk, the rule of a transition's length is left out.
class ZR_DM_API DmValidationVisitor final : public DmTreeVisitor
{
public:
    /// `options`: a sum of eDmValidationOption; 0 for the rules that always hold.
    explicit DmValidationVisitor(unsigned options);
    ~DmValidationVisitor() override;
    DmValidationVisitor(const DmValidationVisitor&) = delete;
    DmValidationVisitor& operator=(const DmValidationVisitor&) = delete;

    bool isValid() const { return _valid; }
    unsigned getOptions() const { return _options; }
    /// False posts the message, and where the walk is, as an error of at most 300 characters, and ends the walk.
    void setValidFlag(bool valid, const DmString& message);

    void visitCompositionNode(DmCompositionNode* node) override;
    void visitTrackNode(DmTrackNode* node) override;
    void visitLayerNode(DmLayerNode* node) override;
    void visitTrxEffectNode(DmTrxEffectNode* node) override;
    void visitSegment(DmSegmentNode* node) override;
    void visitSourceNode(DmSourceNode* node) override;
    void visitContainer(DmSegmentNode* node) override;
    void postProcessLayerNode(DmLayerNode* node) override;

private:
    friend class DmTreeTool;
    class ContainerFinder;
    struct Run;
    /// What a message is about, below the node that is visited: an element of one of its lists, or the node itself.
    struct Spot
    {
        const char* list; ///< null: the node itself
        int index;        ///< -1: of a property that holds one
    };

    DmValidationVisitor(unsigned options, const DmValidationVisitor* outer, const std::shared_ptr<Run>& run);
    static void findAll(DmCompositionNode* composition, unsigned options, std::vector<DmTreeViolation>& all);

    bool isDone() const;
    bool broken(const DmString& message, Spot spot = {});
    bool brokenBy(const DmEffectSettings* effect, const DmString& message, Spot spot);
    std::string pathTo(Spot spot) const;

    bool checkElement(const DmLayerNode& layer, const DmSegmentNode& segment, const DmSegmentNode* previous);
    void enterElement(double recIn);
    void leaveElement();
    void checkLength(const DmTrxEffectNode& node);
    bool checkSegment(DmSegmentNode* node);
    bool isSound(DmCompositionNode* nested, bool withRules);

    const unsigned _options;
    bool _valid = true;
    DmValidationPlace _place;
    const DmCompositionNode* _composition = nullptr; ///< the last one that was visited
    bool _atElement = false;                         ///< the place has an element
    std::unique_ptr<DmIdTable<DmSegmentNode*>> _ids; ///< of the segments seen so far
    const DmValidationVisitor* const _outer;         ///< that visits the container of this visitor's composition
    const std::shared_ptr<Run> _run;                 ///< shared with the visitors of nested compositions
};
