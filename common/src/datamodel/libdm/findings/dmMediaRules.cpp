// Rules about media: whether others find them, and whether they are what the composition is.
#include "dmFirstsImp.h"
#include "dmRulesImp.h"

#include "dmSourceInput.h"
#include "dmUtf8.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace
{

/// How many names a sum tells.
constexpr std::size_t mostNames = 5;

/// Lets a rule see each shot that plays recorded media, and its input.
template <class Use>
void eachRecorded(DmRuleRun& run, Use use)
{
    run.eachShot(
        [use](DmRuleRun& each, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
        {
            if (shot.input && shot.material.kind != DmMaterial::Kind::Generated)
                use(each, cut, lane, shot);
        });
}

/// Lets a rule see the first shot of each path, which is a medium's number.
template <class Use>
auto dmEachPath(Use use)
{
    return [use](DmRuleRun& run)
    {
        eachRecorded(run,
                     [use, known = std::make_shared<std::vector<bool>>()](
                         DmRuleRun& each, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
                     {
                         if (shot.names.path.empty() || shot.medium < 0)
                             return;
                         const auto number = static_cast<std::size_t>(shot.medium);
                         if (number >= known->size())
                             known->resize(2 * number + 1);
                         if (!(*known)[number])
                             use(each, cut, lane, shot, shot.names.path);
                         (*known)[number] = true;
                     });
    };
}

/// Things that are told together: the first shot with each, and all names.
class Sum
{
public:
    void add(const DmCutView& cut, std::string name)
    {
        _cut = _cut ? _cut : &cut;
        if (name.empty())
            ++_unnamed;
        else if (_known.insert(name).second)
            _names.push_back(std::move(name));
    }
    bool isEmpty() const { return !_cut; }
    const DmCutView& cut() const { return *_cut; }
    std::size_t count() const { return _names.size() + _unnamed; }
    /// "A, B, C and 4 more".
    std::string names() const
    {
        std::string text;
        for (std::size_t i = 0; i < std::min(_names.size(), mostNames); ++i)
            text += (i == 0 ? "" : ", ") + _names[i];
        if (_names.size() > mostNames)
            text += " and " + std::to_string(_names.size() - mostNames) + " more";
        return text;
    }

private:
    const DmCutView* _cut = nullptr;
    std::set<std::string> _known;
    std::vector<std::string> _names;
    std::size_t _unnamed = 0;
};

/// A rule that tells in one finding of which recorded media something holds: `name` gives the name to add, or none.
/// `said` is what follows "3 reels".
template <class Name>
auto dmSumOfRecorded(const char* noun, std::pair<const char*, const char*> said, Name name)
{
    return [=](DmRuleRun& run)
    {
        const auto sum = std::make_shared<Sum>();
        eachRecorded(
            run,
            [sum, name](DmRuleRun& each, const DmCutView& cut, const DmLaneView& /*lane*/, const DmShotView& shot)
            {
                if (std::optional<std::string> named = name(each, shot))
                    sum->add(cut, std::move(*named));
            });
        run.atEnd(
            [sum, noun, said](DmRuleRun& each)
            {
                if (!sum->isEmpty())
                    each.add(sum->cut(), dmCountText(sum->count(), noun) +
                                             (sum->count() == 1 ? said.first : said.second) +
                                             (sum->names().empty() ? "" : ": ") + sum->names());
            });
    };
}

/// Names that say a number with a pattern stand for many files.
bool isPatternOfFiles(std::wstring_view path)
{
    return path.find_first_of(L"%#*?[{") != path.npos;
}

bool isThere(const std::string& path, const std::string& root)
{
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path own(path);
    if (own.is_absolute() && fs::exists(own, error))
        return true;
    return fs::exists(fs::path(root) / own.relative_path(), error);
}

/// A comparison each: this is asked of every character of every path, and a search in a text costs ten times that.
constexpr bool isSeparator(wchar_t c)
{
    return c == L'/' || c == L'\\';
}

constexpr bool isRefusedInNames(wchar_t c)
{
    return c == L'<' || c == L'>' || c == L':' || c == L'"' || c == L'|' || c == L'?' || c == L'*';
}

/// What other systems do not take in names of files: empty where there is nothing.
std::string oddIn(std::wstring_view path)
{
    if (const std::size_t scheme = path.find(L"://"); scheme != path.npos)
        path.remove_prefix(scheme + 3);
    else if (path.size() > 1 && path[1] == L':')
        path.remove_prefix(2);
    for (const wchar_t c : path)
    {
        if (c < 0x20 || c == 0x7F)
            return "a control character";
        if (isRefusedInNames(c))
            return std::string("the character ") + static_cast<char>(c);
    }
    for (auto begin = path.begin();; ++begin)
    {
        const auto end = std::find_if(begin, path.end(), isSeparator);
        const std::wstring_view part(begin, end);
        if (!part.empty() && (part.front() == L' ' || part.back() == L' '))
            return "a blank at the end of a name";
        if (part.size() > 2 && part.back() == L'.')
            return "a dot at the end of a name";
        if (end == path.end())
            return {};
        begin = end;
    }
}

/// Patterns of UTF-8, as paths and names are compared with; of bytes that are none, what matches nothing.
std::vector<std::wstring> wideOf(const std::vector<std::string>& patterns)
{
    std::vector<std::wstring> all;
    for (const std::string& pattern : patterns)
    {
        DmString wide;
        all.emplace_back(dmFromUtf8(pattern, wide) ? wide.view() : std::wstring_view());
    }
    return all;
}

bool isCarriedByCmx(std::wstring_view reel, std::size_t length)
{
    return reel.size() <= length && std::ranges::all_of(reel, [](wchar_t c) { return c > L' ' && c < wchar_t(0x7F); });
}

// What formats say: what is not said is a value of its type's default.

std::pair<int, int> sizeOf(const DmFrameResolution* format)
{
    std::pair<int, int> size;
    if (format)
    {
        format->getWidth(size.first);
        format->getHeight(size.second);
    }
    return size.first > 0 && size.second > 0 ? size : std::pair<int, int>();
}

std::wstring colourSpaceOf(const DmFrameResolution* format)
{
    DmString name;
    if (format)
        format->getColorSpace(name);
    return std::wstring(name.view());
}

long samplingRateOf(double rate)
{
    return rate > 0.0 ? std::lround(rate) : 0;
}

/// A rule about what sources say of their format otherwise than their composition: `values` gives both, `text` tells
/// one.
template <class Values, class Text>
auto dmOtherFormat(bool isPicture, const char* what, Values values, Text text)
{
    return [=](DmRuleRun& run)
    {
        using Others = std::map<std::pair<int, std::string>, Sum>;
        const auto others = std::make_shared<Others>();
        eachRecorded(run,
                     [=](DmRuleRun& /*each*/, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
                     {
                         if (lane.isPicture != isPicture)
                             return;
                         const auto both = values(*cut.composition, *shot.input);
                         const decltype(both.first) unsaid{};
                         if (both.first != unsaid && both.second != unsaid && both.first != both.second)
                             (*others)[{cut.index, text(both.first) + ", the composition " + text(both.second)}].add(
                                 cut, dmUtf8(shot.name()));
                     });
        run.atEnd(
            [others, what](DmRuleRun& each)
            {
                for (const auto& [key, sum] : *others)
                    each.add(sum.cut(), dmCountText(sum.count(), "source") + (sum.count() == 1 ? " has " : " have ") +
                                            what + key.second + (sum.names().empty() ? "" : ": ") + sum.names());
            });
    };
}

} // namespace

const std::vector<DmRule>& dmMediaRules()
{
    static const std::vector<DmRule> rules = {
        {.code = "DM401",
         .name = "no-origin",
         .line = "sources of which neither a file nor a reel is said",
         .why = "Nobody can conform what has no address. \"AX\" is no reel: every list has it for what it does not "
                "know. All of them are one finding.",
         .example = "reel AX, no file                    found\nreel A001C003                       fine",
         .mending = "Export the list again with reels or file names, or relink the clips: no option knows them.",
         .find = dmSumOfRecorded("source", {" has neither reel nor path", " have neither reel nor path"},
                                 [](const DmRuleRun& /*run*/, const DmShotView& shot)
                                 {
                                     const DmSourceNames& names = shot.names;
                                     const bool isSaid =
                                         !names.path.empty() || !names.file.empty() || !names.reel.empty();
                                     return isSaid ? std::optional<std::string>() : dmUtf8(shot.name());
                                 })},
        {.code = "DM402",
         .name = "long-reel",
         .severity = DmFinding::Note,
         .isOn = false,
         .line = "reels that CMX lists cannot carry",
         .why = "A CMX list has 8 characters for a reel, and no blanks among them: longer names are cut, and two reels "
                "become one. Only when selected: cameras write longer ones, and other formats carry them.",
         .example = "A001C003_220310_R1AB                found\nA001C003                            fine",
         .mending = "Give the list short reels, or deliver a format that carries long ones. No option does it: of two "
                    "long ones one "
                    "short one could come.",
         .find = dmSumOfRecorded("reel", {" is more than a CMX list carries", " are more than a CMX list carries"},
                                 [](const DmRuleRun& run, const DmShotView& shot)
                                 {
                                     const std::wstring_view reel = shot.names.reel;
                                     return isCarriedByCmx(reel, run.options().reelLength)
                                                ? std::optional<std::string>()
                                                : dmUtf8(reel);
                                 })},
        {.code = "DM403",
         .name = "two-paths",
         .line = "pictures of one reel and label that are two files",
         .why =
             "A reel and a label are one frame. Where two files say that they are it, one is another version, or the "
             "reel is wrong: a conform takes either.",
         .example =
             "reel A001, 01:00:00:00: /v1/a.mov and /v2/a.mov   found\nreel A001, 01:00:00:00: /v1/a.mov twice   "
             "        fine",
         .mending = "Relink one of the shots. No option does it: which file is the right one, a person knows.",
         .find =
             [](DmRuleRun& run)
         {
             DmFirsts<const DmShotView*> firsts(dmCountShots(run.cuts()));
             std::set<int> told; // media
             for (const DmCutView& cut : run.cuts())
                 for (const DmLaneView& lane : cut.lanes)
                     for (const DmShotView& shot : lane.shots)
                     {
                         const DmSourceNames& names = shot.names;
                         if (!lane.isPicture || shot.material.kind == DmMaterial::Kind::Generated ||
                             names.reel.empty() || names.path.empty())
                             continue;
                         const DmShotView* const* const first = firsts.add(
                             {.text = names.reel, .number = shot.material.begin, .kind = shot.played.fcm()}, &shot);
                         if (first && (*first)->medium != shot.medium && told.insert(shot.medium).second)
                             run.add(cut, lane, shot,
                                     "Reel \"" + dmUtf8(names.reel) + "\" at " +
                                         dmLabelText(shot.material.begin, shot.played.fcm()) + " is \"" +
                                         dmUtf8(names.path) + "\" here and \"" + dmUtf8((*first)->names.path) +
                                         "\" elsewhere");
                     }
         }},
        {.code = "DM404",
         .name = "missing-file",
         .line = "files that are not there",
         .why = "What is not on disk cannot be conformed. Looked for with `--media-root DIR`, in which paths are "
                "resolved; whether a file can be read is not looked at. Names that stand for many files are passed "
                "over.",
         .example = "`--media-root /mnt/show`: /a/b.mov, no /mnt/show/a/b.mov   found\nthe same, /mnt/show/a/b.mov is "
                    "there                         fine",
         .mending = "Restore the file, or relink the shot: no option can.",
         .find = dmEachPath(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot,
                std::wstring_view path)
             {
                 const std::string& root = run.options().mediaRoot;
                 if (root.empty() || path.find(L"://") != path.npos || isPatternOfFiles(path))
                     return;
                 if (const std::string file = dmUtf8(path); !isThere(file, root))
                     run.add(cut, lane, shot, "There is no file \"" + file + '"');
             })},
        {.code = "DM405",
         .name = "path-pattern",
         .line = "paths that must not be",
         .why = "Media on a desktop, a stick or an old server are there today, and for one. Asked for in the "
                "configuration: patterns, one of which a path must match, and patterns that none may match.",
         .example =
             "forbidden-paths = [\"*/Desktop/*\"], /Users/me/Desktop/a.mov   found\nthe same, /mnt/show/a.mov     "
             "                               fine",
         .mending = "Move the media to where they belong, and relink. No option does it: nothing moves files.",
         .find =
             [](DmRuleRun& run)
         {
             const DmFindingOptions& options = run.options();
             if (options.requiredPaths.empty() && options.forbiddenPaths.empty())
                 return;
             dmEachPath(
                 [required = wideOf(options.requiredPaths), forbidden = wideOf(options.forbiddenPaths)](
                     DmRuleRun& each, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot,
                     std::wstring_view path)
                 {
                     const auto matches = [path](const std::wstring& pattern)
                     { return dmMatchesPattern(path, pattern); };
                     if (const auto found = std::ranges::find_if(forbidden, matches); found != forbidden.end())
                         each.add(cut, lane, shot,
                                  "The path \"" + dmUtf8(path) + "\" is of the forbidden form \"" + dmUtf8(*found) +
                                      '"');
                     else if (!required.empty() && std::ranges::none_of(required, matches))
                         each.add(cut, lane, shot, "The path \"" + dmUtf8(path) + "\" is of no required form");
                 })(run);
         }},
        {.code = "DM406",
         .name = "odd-characters",
         .line = "paths with characters that other systems choke on",
         .why = "A colon, a question mark or a blank at the end of a name is a file on one system and none on another.",
         .example = "/show/take 3?.mov                   found\n/show/take 3.mov                    fine",
         .mending = "Rename the file, and relink. No option does it: nothing renames files.",
         .find = dmEachPath(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot,
                std::wstring_view path)
             {
                 if (const std::string odd = oddIn(path); !odd.empty())
                     run.add(cut, lane, shot, "The path \"" + dmUtf8(path) + "\" has " + odd);
             })},
        {.code = "DM407",
         .name = "no-shot-name",
         .severity = DmFinding::Note,
         .isOn = false,
         .line = "shots without a shot name among shots that have one",
         .why = "What has no name is in no shot list: it is not ordered, not delivered, not paid. Only where the "
                "composition uses shot names, and only when selected: in many cuts only the shots of one vendor have "
                "them.",
         .example = "sc010_sh020, and one without        found\nno shot with a name                 fine",
         .mending = "Name it: no option can.",
         .find = dmEachCut(
             [](DmRuleRun& run, const DmCutView& cut)
             {
                 Sum sum;
                 bool areUsed = false;
                 for (const DmLaneView& lane : cut.lanes)
                     for (const DmShotView& shot : lane.shots)
                         if (lane.isPicture && !shot.isGap && shot.isMoving())
                         {
                             areUsed = areUsed || !shot.segment->getShotName().empty();
                             if (shot.segment->getShotName().empty())
                                 sum.add(cut, dmUtf8(shot.name()));
                         }
                 if (areUsed && !sum.isEmpty())
                     run.add(cut, dmCountText(sum.count(), "shot") + (sum.count() == 1 ? " has" : " have") +
                                      " no shot name" + (sum.names().empty() ? "" : ": ") + sum.names());
             })},
        {.code = "DM408",
         .name = "shot-name-twice",
         .line = "shot names that two shots of different media have",
         .why = "Two shots of one name overwrite each other's versions.",
         .example = "sc010_sh020 of A001 and of B003     found\nsc010_sh020 of A001, in two pieces  fine",
         .mending = "Rename one of them. No option does it: others have the name by now.",
         .find = dmEachCut(
             [](DmRuleRun& run, const DmCutView& cut)
             {
                 DmFirsts<const DmShotView*> firsts(dmCountShots(cut));
                 for (const DmLaneView& lane : cut.lanes)
                     for (const DmShotView& shot : lane.shots)
                     {
                         const DmString& name = shot.segment->getShotName();
                         if (!lane.isPicture || name.empty() || shot.medium < 0)
                             continue;
                         const DmShotView* const* const first = firsts.add({.text = name.view()}, &shot);
                         if (first && (*first)->medium != shot.medium)
                             run.add(cut, lane, shot,
                                     "Its shot name \"" + dmUtf8(name) + "\" is that of the shot at " +
                                         cut.composition->getRecordLabel((*first)->recIn) + ", too");
                     }
             })},
        {.code = "DM409",
         .name = "shot-name-pattern",
         .line = "shot names of another form than was asked for",
         .why = "Scripts take shot names apart. Asked for in the configuration, as a pattern with * and ?.",
         .example = "shot-names = \"sc???_sh???\", sc10_sh020   found\nthe same, sc010_sh020                  fine",
         .mending = "Rename the shot. No option does it: others have the name by now.",
         .find =
             [](DmRuleRun& run)
         {
             if (!run.options().shotNames.empty())
                 run.eachShot(
                     [pattern = wideOf({run.options().shotNames}).front()](
                         DmRuleRun& each, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
                     {
                         const DmString& name = shot.segment->getShotName();
                         if (!name.empty() && !dmMatchesPattern(name.view(), pattern))
                             each.add(cut, lane, shot,
                                      "Its shot name \"" + dmUtf8(name) + "\" is not of the form \"" + dmUtf8(pattern) +
                                          '"');
                     });
         }},
        {.code = "DM410",
         .name = "other-resolution",
         .severity = DmFinding::Note,
         .line = "pictures of another size than the composition's",
         .why = "What is of another size is scaled, by each program in its own way.",
         .example = "1280x720 in 1920x1080               found\na size that nobody says             fine",
         .mending = "Say how it is to be scaled, or ask for the right size: no option knows how.",
         .find = dmOtherFormat(
             true, "a size of ",
             [](const DmCompositionNode& composition, const DmSourceNode::Input& input)
             { return std::pair(sizeOf(input.getPrimaryRes()), sizeOf(composition.getResolution())); },
             [](std::pair<int, int> size) { return std::to_string(size.first) + 'x' + std::to_string(size.second); })},
        {.code = "DM411",
         .name = "other-colour-space",
         .severity = DmFinding::Note,
         .line = "pictures of another colour space than the composition's",
         .why = "What is of another colour space is converted, or not, and nobody sees which in a list.",
         .example = "log in a Rec.709 composition        found\na colour space that nobody says     fine",
         .mending = "Say how it is to be converted: no option knows how.",
         .find = dmOtherFormat(
             true, "the colour space ",
             [](const DmCompositionNode& composition, const DmSourceNode::Input& input)
             {
                 const DmString& whole = composition.getColourSpace();
                 return std::pair(colourSpaceOf(input.getPrimaryRes()), whole.empty()
                                                                            ? colourSpaceOf(composition.getResolution())
                                                                            : std::wstring(whole.view()));
             },
             [](const std::wstring& name) { return dmUtf8(name); })},
        {.code = "DM412",
         .name = "other-sampling-rate",
         .line = "sound of another sampling rate than the composition's",
         .why = "Sound that is not converted drifts, or plays at another pitch.",
         .example = "44100 in 48000                      found\na rate that nobody says             fine",
         .mending = "Convert the file, or say that it is to be converted. No option does it: nothing touches files.",
         .find = dmOtherFormat(
             false, "a sampling rate of ",
             [](const DmCompositionNode& composition, const DmSourceNode::Input& input)
             {
                 const DmAudioProperties* const sound = input.getAudioProperties();
                 return std::pair(samplingRateOf(sound ? sound->getSamplingRate() : 0.0),
                                  samplingRateOf(composition.getSamplingRate()));
             },
             [](long rate) { return std::to_string(rate); })},
    };
    return rules;
}
