// Rules about media: whether others find them, and whether they are what the composition is.
#include "dmRulesImp.h"

#include "dmSourceInput.h"
#include "dmUtf8.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <system_error>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace
{

/// How many names a sum tells.
constexpr std::size_t mostNames = 5;

/// Calls `use` with each shot that plays recorded media, and its input.
template <class Use>
void forEachRecorded(const DmRuleRun& run, const Use& use)
{
    dmForEachShot(run,
                  [&use](const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
                  {
                      if (shot.input && shot.material.kind != DmMaterial::Kind::Generated)
                          use(cut, lane, shot, *shot.input);
                  });
}

/// The same once a path, which is a medium's number.
template <class Use>
void forEachPath(const DmRuleRun& run, const Use& use)
{
    std::vector<bool> known;
    forEachRecorded(
        run,
        [&](const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot, const DmSourceNode::Input& /*input*/)
        {
            if (shot.names.path.empty() || shot.medium < 0)
                return;
            const auto number = static_cast<std::size_t>(shot.medium);
            if (number >= known.size())
                known.resize(2 * number + 1);
            if (!known[number])
                use(cut, lane, shot, dmUtf8(shot.names.path));
            known[number] = true;
        });
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

/// "3 sources are 720x576, the composition is 1920x1080: A, B, C".
void reportOthers(DmRuleRun& run, const std::map<std::pair<int, std::string>, Sum>& others, const char* what)
{
    for (const auto& [key, sum] : others)
        run.add(sum.cut(), dmCountText(sum.count(), "source") + (sum.count() == 1 ? " has " : " have ") + what +
                               key.second + (sum.names().empty() ? "" : ": ") + sum.names());
}

/// Names that say a number with a pattern stand for many files.
bool isPatternOfFiles(std::string_view path)
{
    return path.find_first_of("%#*?[{") != path.npos;
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

/// What other systems do not take in names of files: empty where there is nothing.
std::string oddIn(std::string_view path)
{
    if (const std::size_t scheme = path.find("://"); scheme != path.npos)
        path.remove_prefix(scheme + 3);
    else if (path.size() > 1 && path[1] == ':')
        path.remove_prefix(2);
    for (const char c : path)
    {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            return "a control character";
        if (std::string_view("<>:\"|?*").find(c) != std::string_view::npos)
            return std::string("the character ") + c;
    }
    std::size_t begin = 0;
    while (begin <= path.size())
    {
        const std::size_t end = std::min(path.find_first_of("/\\", begin), path.size());
        const std::string_view part = path.substr(begin, end - begin);
        if (!part.empty() && (part.front() == ' ' || part.back() == ' '))
            return "a blank at the end of a name";
        if (part.size() > 2 && part.back() == '.')
            return "a dot at the end of a name";
        begin = end + 1;
    }
    return {};
}

bool isCarriedByCmx(std::wstring_view reel, std::size_t length)
{
    return reel.size() <= length && std::ranges::all_of(reel, [](wchar_t c) { return c > L' ' && c < wchar_t(0x7F); });
}

std::string sizeOf(const DmFrameResolution* format)
{
    int width = 0;
    int height = 0;
    if (format)
    {
        format->getWidth(width);
        format->getHeight(height);
    }
    return width > 0 && height > 0 ? std::to_string(width) + 'x' + std::to_string(height) : std::string();
}

std::string colourSpaceOf(const DmFrameResolution* format)
{
    DmString name;
    if (format)
        format->getColorSpace(name);
    return dmUtf8(name);
}

/// Reports what of its format a source says otherwise than its composition: `value` gives both, as text.
template <class Value>
void compareFormats(DmRuleRun& run, bool isPicture, const char* what, const Value& value)
{
    std::map<std::pair<int, std::string>, Sum> others;
    forEachRecorded(
        run,
        [&](const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot, const DmSourceNode::Input& input)
        {
            if (lane.isPicture != isPicture)
                return;
            const auto [own, composition] = value(*cut.composition, input);
            if (!own.empty() && !composition.empty() && own != composition)
                others[{cut.index, own + ", the composition " + composition}].add(cut, dmUtf8(shot.name()));
        });
    reportOthers(run, others, what);
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
         .find =
             [](DmRuleRun& run)
         {
             Sum sum;
             forEachRecorded(run,
                             [&sum](const DmCutView& cut, const DmLaneView& /*lane*/, const DmShotView& shot,
                                    const DmSourceNode::Input& /*input*/)
                             {
                                 const DmSourceNames& names = shot.names;
                                 if (names.path.empty() && names.file.empty() && names.reel.empty())
                                     sum.add(cut, dmUtf8(shot.name()));
                             });
             if (!sum.isEmpty())
                 run.add(sum.cut(), dmCountText(sum.count(), "source") + (sum.count() == 1 ? " has" : " have") +
                                        " neither reel nor path" + (sum.names().empty() ? "" : ": ") + sum.names());
         }},
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
         .find =
             [](DmRuleRun& run)
         {
             Sum sum;
             forEachRecorded(run,
                             [&](const DmCutView& cut, const DmLaneView& /*lane*/, const DmShotView& shot,
                                 const DmSourceNode::Input& /*input*/)
                             {
                                 const DmSourceNames& names = shot.names;
                                 if (!isCarriedByCmx(names.reel, run.options().reelLength))
                                     sum.add(cut, dmUtf8(names.reel));
                             });
             if (!sum.isEmpty())
                 run.add(sum.cut(), dmCountText(sum.count(), "reel") + (sum.count() == 1 ? " is" : " are") +
                                        " more than a CMX list carries: " + sum.names());
         }},
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
             std::map<std::tuple<std::wstring_view, double, DM::FrameCodeModes>, std::wstring_view> paths;
             std::set<std::wstring_view> told;
             forEachRecorded(
                 run,
                 [&](const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot,
                     const DmSourceNode::Input& /*input*/)
                 {
                     const DmSourceNames& names = shot.names;
                     if (!lane.isPicture || names.reel.empty() || names.path.empty())
                         return;
                     const auto [found, isFirst] =
                         paths.try_emplace({names.reel, shot.material.begin, shot.played.fcm()}, names.path);
                     if (!isFirst && found->second != names.path && told.insert(names.path).second)
                         run.add(cut, lane, shot,
                                 "Reel \"" + dmUtf8(names.reel) + "\" at " +
                                     dmLabelText(shot.material.begin, shot.played.fcm()) + " is \"" +
                                     dmUtf8(names.path) + "\" here and \"" + dmUtf8(found->second) + "\" elsewhere");
                 });
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
         .find =
             [](DmRuleRun& run)
         {
             const std::string& root = run.options().mediaRoot;
             if (root.empty())
                 return;
             forEachPath(
                 run,
                 [&](const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot, const std::string& path)
                 {
                     if (path.find("://") == path.npos && !isPatternOfFiles(path) && !isThere(path, root))
                         run.add(cut, lane, shot, "There is no file \"" + path + '"');
                 });
         }},
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
             const auto& required = run.options().requiredPaths;
             const auto& forbidden = run.options().forbiddenPaths;
             forEachPath(
                 run,
                 [&](const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot, const std::string& path)
                 {
                     const auto matches = [&path](const std::string& pattern)
                     { return dmMatchesPattern(path, pattern); };
                     if (const auto found = std::ranges::find_if(forbidden, matches); found != forbidden.end())
                         run.add(cut, lane, shot,
                                 "The path \"" + path + "\" is of the forbidden form \"" + *found + '"');
                     else if (!required.empty() && std::ranges::none_of(required, matches))
                         run.add(cut, lane, shot, "The path \"" + path + "\" is of no required form");
                 });
         }},
        {.code = "DM406",
         .name = "odd-characters",
         .line = "paths with characters that other systems choke on",
         .why = "A colon, a question mark or a blank at the end of a name is a file on one system and none on another.",
         .example = "/show/take 3?.mov                   found\n/show/take 3.mov                    fine",
         .mending = "Rename the file, and relink. No option does it: nothing renames files.",
         .find =
             [](DmRuleRun& run)
         {
             forEachPath(
                 run,
                 [&](const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot, const std::string& path)
                 {
                     if (const std::string odd = oddIn(path); !odd.empty())
                         run.add(cut, lane, shot, "The path \"" + path + "\" has " + odd);
                 });
         }},
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
                 std::unordered_map<std::wstring_view, const DmShotView*> first;
                 for (const DmLaneView& lane : cut.lanes)
                     for (const DmShotView& shot : lane.shots)
                     {
                         const DmString& name = shot.segment->getShotName();
                         if (!lane.isPicture || name.empty() || shot.medium < 0)
                             continue;
                         const auto [found, isFirst] = first.try_emplace(name.view(), &shot);
                         if (!isFirst && found->second->medium != shot.medium)
                             run.add(cut, lane, shot,
                                     "Its shot name \"" + dmUtf8(name) + "\" is that of the shot at " +
                                         cut.composition->getRecordLabel(found->second->recIn) + ", too");
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
             const std::string& pattern = run.options().shotNames;
             for (const DmCutView& cut : run.cuts())
                 for (const DmLaneView& lane : cut.lanes)
                     for (const DmShotView& shot : lane.shots)
                         if (const DmString& name = shot.segment->getShotName();
                             !pattern.empty() && !name.empty() && !dmMatchesPattern(dmUtf8(name), pattern))
                             run.add(cut, lane, shot,
                                     "Its shot name \"" + dmUtf8(name) + "\" is not of the form \"" + pattern + '"');
         }},
        {.code = "DM410",
         .name = "other-resolution",
         .severity = DmFinding::Note,
         .line = "pictures of another size than the composition's",
         .why = "What is of another size is scaled, by each program in its own way.",
         .example = "1280x720 in 1920x1080               found\na size that nobody says             fine",
         .mending = "Say how it is to be scaled, or ask for the right size: no option knows how.",
         .find =
             [](DmRuleRun& run)
         {
             compareFormats(run, true, "a size of ",
                            [](const DmCompositionNode& composition, const DmSourceNode::Input& input)
                            { return std::pair(sizeOf(input.getPrimaryRes()), sizeOf(composition.getResolution())); });
         }},
        {.code = "DM411",
         .name = "other-colour-space",
         .severity = DmFinding::Note,
         .line = "pictures of another colour space than the composition's",
         .why = "What is of another colour space is converted, or not, and nobody sees which in a list.",
         .example = "log in a Rec.709 composition        found\na colour space that nobody says     fine",
         .mending = "Say how it is to be converted: no option knows how.",
         .find =
             [](DmRuleRun& run)
         {
             compareFormats(run, true, "the colour space ",
                            [](const DmCompositionNode& composition, const DmSourceNode::Input& input)
                            {
                                std::string whole = dmUtf8(composition.getColourSpace());
                                return std::pair(colourSpaceOf(input.getPrimaryRes()),
                                                 whole.empty() ? colourSpaceOf(composition.getResolution()) : whole);
                            });
         }},
        {.code = "DM412",
         .name = "other-sampling-rate",
         .line = "sound of another sampling rate than the composition's",
         .why = "Sound that is not converted drifts, or plays at another pitch.",
         .example = "44100 in 48000                      found\na rate that nobody says             fine",
         .mending = "Convert the file, or say that it is to be converted. No option does it: nothing touches files.",
         .find =
             [](DmRuleRun& run)
         {
             const auto text = [](double rate)
             { return rate > 0.0 ? std::to_string(std::lround(rate)) : std::string(); };
             compareFormats(run, false, "a sampling rate of ",
                            [&text](const DmCompositionNode& composition, const DmSourceNode::Input& input)
                            {
                                const DmAudioProperties* const sound = input.getAudioProperties();
                                return std::pair(text(sound ? sound->getSamplingRate() : 0.0),
                                                 text(composition.getSamplingRate()));
                            });
         }},
    };
    return rules;
}
