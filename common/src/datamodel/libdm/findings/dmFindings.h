/// What an assistant editor checks by eye before a cut is turned over: rules that look at a tree, find what breaks
/// them, and mend what can be mended.
///
///     DmFindings findings;
///     for (const DmFinding& finding : findings.find(*root))
///         std::cout << finding.toString("reel1.edl") << '\n';
///
/// What is not known is no fault: a rule about material says nothing of material whose length nobody knows.
///
/// A host adds rules of its own:
///
///     findings.addRule({.code = "HOUSE1",
///                       .name = "no-music",
///                       .line = "compositions without sound",
///                       .find = [](DmRuleRun& run)
///                       {
///                           for (const DmCutView& cut : run.cuts())
///                               if (std::ranges::all_of(cut.lanes, &DmLaneView::isPicture))
///                                   run.add(cut, "there is no sound");
///                       }});
///
/// Threads: a DmFindings that nobody changes may look at any number of trees at once.
#pragma once

#include "dmCutView.h"
#include "dmFinding.h"

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

class DmRuleRun;

/// A rule: what there is to say about it, and what it does. Texts last as long as the program.
struct DmRule
{
    const char* code = "";                             ///< "DM301"; the first digit is the group
    const char* name = "";                             ///< "flash-frame"
    DmFinding::Severity severity = DmFinding::Warning; ///< unless a finding says otherwise
    bool isOn = true;                                  ///< without being selected
    const char* line = "";                             ///< what it finds, in the plural
    const char* why = "";                              ///< why that is bad
    const char* example = "";                          ///< a cut that breaks it, and one that does not
    const char* mending = "";                          ///< what to do about it, and what --fix does
    std::function<void(DmRuleRun&)> find = {};
};

/// What rules go by. Lengths are frames of the composition's mode.
struct DmFindingOptions
{
    /// Rules by code ("DM301"), the begin of one ("DM3"), name ("flash-frame") or group ("cut"), "all" for all there
    /// are. Empty: those that are on by themselves.
    std::vector<std::string> select = {};
    std::vector<std::string> ignore = {}; ///< the same; wins over `select`

    bool all = false;                   ///< every composition keeps the rules that only an origin asks for
    std::optional<double> handles = {}; ///< what each shot must have beside what plays, in frames of its source
    double flash = 3.0;                 ///< a shot of which fewer frames are seen is a flash
    double jump = 12.0;                 ///< of a jump cut: the most frames that are skipped
    double dupeHandles = 0.0;           ///< frames beside what plays that may not show twice either
    std::string startLabel = {};        ///< what compositions begin at; empty: whatever they like
    std::vector<std::string> markWords = {"TODO"}; ///< that ask for something
    std::string mediaRoot = {};                    ///< where files are; empty: nobody looks for them
    std::vector<std::string> requiredPaths = {};   ///< patterns with * and ?, one of which a path must match
    std::vector<std::string> forbiddenPaths = {};  ///< none of which it may match
    std::string shotNames = {};                    ///< a pattern that shot names must match; empty: none
    std::size_t reelLength = 8;                    ///< characters that a CMX list has for a reel
};

/// One look at one tree, as a rule sees it.
class ZR_DM_API DmRuleRun
{
public:
    /// What leaves every frame that plays, and when, as it was is safe.
    enum class Mending
    {
        Safe,
        Unsafe
    };
    /// A finding that has been added.
    class ZR_DM_API Added
    {
    public:
        DmFinding* operator->() const { return _finding; }
        /// What to do about it; the nodes stay alive for it. It returns the first status that is not DM_NO_ERROR.
        const Added& mend(Mending kind, std::function<eDmErrorId()> how) const;

    private:
        friend class DmRuleRun;
        Added(DmRuleRun& run, DmFinding* finding)
            : _run(&run)
            , _finding(finding)
        {
        }
        DmRuleRun* _run;
        DmFinding* _finding;
    };

    const std::vector<DmCutView>& cuts() const { return _views.cuts(); }
    const DmCutViews& views() const { return _views; }
    const DmFindingOptions& options() const { return _options; }

    // Places, for a rule's function that does not look for itself: it is shown each, in the order of the tree. All
    // rules look in one walk, behind the last rule's function.

    using SeeElement = std::function<void(DmRuleRun&, const DmCutView&, const DmLaneView&, int position)>;
    using SeeShot = std::function<void(DmRuleRun&, const DmCutView&, const DmLaneView&, const DmShotView&)>;
    /// Each child of each layer, of any kind or null.
    void eachElement(SeeElement see) { _seeElement.push_back({_rule, std::move(see)}); }
    void eachShot(SeeShot see) { _seeShot.push_back({_rule, std::move(see)}); }
    /// What is left to say when all has been seen.
    void atEnd(std::function<void(DmRuleRun&)> say) { _atEnd.push_back({_rule, std::move(say)}); }

    // A finding of the rule that runs, good until the next one

    /// At a shot.
    Added add(const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot, std::string text);
    /// At a child of a layer, of any kind or null.
    Added add(const DmCutView& cut, const DmLaneView& lane, int position, std::string text);
    /// At a layer; at a record time of it, where that is given.
    Added add(const DmCutView& cut, const DmLaneView& lane, std::string text, std::optional<double> time = {});
    /// At a composition.
    Added add(const DmCutView& cut, std::string text, std::optional<double> time = {});
    /// At any node.
    Added add(std::string path, std::string text);

    /// Of a rule that only an origin asks for.
    DmFinding::Severity strictSeverity(const DmCutView& cut) const
    {
        return cut.isStrict || _options.all ? DmFinding::Error : DmFinding::Warning;
    }

private:
    friend class DmFindings;
    struct Item
    {
        DmFinding finding;
        std::size_t rule;
        int cut = -1;
        int lane = -1;
        int position = -1;
        Mending kind = Mending::Unsafe;
        std::function<eDmErrorId()> how;
    };

    /// What a rule asks to be called for.
    template <class Function>
    struct Of
    {
        std::size_t rule;
        Function function;
    };

    DmRuleRun(const DmTreeNode& tree, const DmFindingOptions& options, std::vector<const DmRule*> rules);
    /// All rules over the tree.
    void look();
    template <class Function, class... Place>
    void call(const std::vector<Of<Function>>& all, const Place&... place);
    Item& addItem(std::string text);
    void setTime(const DmCutView& cut, const DmLaneView* lane, double time);

    DmCutViews _views;
    const DmFindingOptions& _options;
    std::vector<const DmRule*> _rules;
    std::size_t _rule = 0; ///< that runs
    std::vector<Of<SeeElement>> _seeElement;
    std::vector<Of<SeeShot>> _seeShot;
    std::vector<Of<std::function<void(DmRuleRun&)>>> _atEnd;
    std::vector<Item> _items;
};

class ZR_DM_API DmFindings
{
public:
    explicit DmFindings(DmFindingOptions options = {});

    /// Our own rules, by code.
    static std::span<const DmRule> ownRules();
    /// Our own, then those that were added.
    std::vector<const DmRule*> rules() const;
    /// False, and nothing is added, where the code or the name is taken or empty, or the rule does nothing.
    bool addRule(DmRule rule);

    const DmFindingOptions& options() const { return _options; }
    /// Whether findings of a code, of a rule or of a conversion, are asked for.
    bool isOn(std::string_view code) const;
    /// The words of `select` and `ignore` that name nothing.
    std::vector<std::string> unknownWords() const;

    /// In the order of the tree: by composition, track, place, code.
    std::vector<DmFinding> find(const DmTreeNode& tree) const;

    struct Mended
    {
        int count = 0;                   ///< findings that were mended
        eDmErrorId status = DM_NO_ERROR; ///< the first that is not DM_NO_ERROR; what can be mended is
    };
    /// Mends what the rules that are on find, and what comes of that, until nothing is left to mend.
    Mended mend(DmTreeNode& tree, DmRuleRun::Mending upTo) const;

private:
    DmRuleRun run(const DmTreeNode& tree) const;

    DmFindingOptions _options;
    std::vector<DmRule> _added;
};

/// The name of the group of a code: "structure", "times", "cut", "media", "delivery", "reading", "writing"; "added" for
/// codes of hosts.
ZR_DM_API const char* dmFindingGroup(std::string_view code);
/// The page of a rule, as Markdown.
ZR_DM_API std::string dmRulePage(const DmRule& rule);
/// Whether a text is as the pattern says, in which * stands for any text and ? for any character.
ZR_DM_API bool dmMatchesPattern(std::wstring_view text, std::wstring_view pattern);
/// Of UTF-8; false for what is none.
ZR_DM_API bool dmMatchesPattern(std::string_view text, std::string_view pattern);
