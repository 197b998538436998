/// What a conversion has to say: it collects findings (dmFinding.h), each with the line, or the clip, it is about.
///
///     Report report(Report::Strict);
///     const CoSharedPtr<DmRoot> root = format.read(file, {}, report);
///     std::cerr << dmFindingsText("reel1.edl", report.findings());
///     if (!root)
///         return 2;
///
/// A *mistake* is something wrong in the file of which the reader knows how to carry on. Whether it does is the
/// report's to say: in a strict one a mistake is an error, in a lenient one a warning that also tells what was chosen.
///
/// Not synchronised: a report belongs to the thread that converts.
#pragma once

#include "dmFinding.h"
#include "dmMediaType.h"
#include "dmNoTime.h"
#include "dmRoot.h"
#include "dmTreeNode.h"
#include "tuFcm.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace interchange
{

/// A kind of thing that a form has no words for, and what is done about it.
struct Loss
{
    const char* code;        ///< of dmFindingCodes(), which says what it is
    std::string_view choice; ///< "left out"
};

/// Where on a timeline a conversion is; what is not known stays as it is here.
struct Where
{
    const DmTreeNode* node = nullptr;
    eDmTreeMediaType mediaType = DM_MEDIA_UNDEFINED; ///< of its track
    int track = 0;                                   ///< its number
    double time = dmNoTime;                          ///< in frames of the mode, as labels count
    DM::FrameCodeModes fcm = DM::FCM_NOT_DEFINED;
    std::string_view clip = {}; ///< where there is no node yet
};

/// Where in the file a node came from.
struct NodePlace
{
    const DmTreeNode* node;
    std::uint32_t line; ///< from 1 on
};

class ZR_DM_API Report
{
public:
    using Level = DmFinding::Severity;
    static constexpr Level Notice = DmFinding::Note;
    static constexpr Level Warning = DmFinding::Warning;
    static constexpr Level Error = DmFinding::Error;
    enum Leniency : bool
    {
        Strict,
        Lenient
    };

    explicit Report(Leniency leniency = Strict)
        : _leniency(leniency)
    {
    }

    // Adding; `line` counts from 1, and 0 means the file as a whole

    /// Under the code that a level has where nothing more is known of it.
    void add(Level level, std::uint32_t line, std::string text);
    void add(const char* code, Level level, std::uint32_t line, std::string text);
    void add(DmFinding finding);
    /// `choice` says what is done about it where the report is lenient: "the record length holds".
    void mistake(std::uint32_t line, std::string what, std::string_view choice);
    /// Something that the form written or read cannot say, where the conversion is.
    void lose(const Loss& loss, std::uint32_t line = 0);
    /// The conversion has come there: what is added from now on is about that.
    void at(const Where& where) { _where = where; }
    /// So are the findings from there on that are about no node yet.
    void about(std::size_t from, const DmTreeNode& node);
    /// The last finding is about something of the file; what is made of that may come later.
    void expect(const void* thing);
    void became(const void* thing, const DmTreeNode& node) { settle(reinterpret_cast<std::uintptr_t>(thing), node); }
    /// The same of a format that has no more than one thing a line.
    void lineBecame(std::uint32_t line, const DmTreeNode& node) { settle(line, node); }
    /// Tells of each finding where in the tree its node stands, and what it is known by in a later version. `paths`:
    /// not where the tree is a copy that nobody sees.
    void locate(const DmRoot& root, bool paths = true);
    /// To be called in a catch block: makes an error of what was thrown, and of a setter that was refused what it is.
    void addException();

    /// The node was made of what stands there.
    void came(const DmTreeNode& node, std::uint32_t line) { _places.push_back({&node, line}); }

    // Asking

    bool isLenient() const { return _leniency == Lenient; }
    bool hasErrors() const { return _counts[Error] != 0; }
    std::size_t size() const { return _kept.size(); }
    std::size_t count(Level level) const { return _counts[level]; }
    std::size_t count() const { return _counts[Notice] + _counts[Warning] + _counts[Error]; }
    /// Those of lines in their order, behind those of the file as a whole. Of very many only so many are kept, that no
    /// hostile file fills the memory; the last then says how many are left out.
    std::vector<DmFinding> findings() const;
    /// The same; the report then has none. `root`: each tells where in that its node stands, as by locate().
    std::vector<DmFinding> takeFindings(const DmRoot* root = nullptr);
    std::vector<NodePlace> takePlaces() { return std::move(_places); }

    /// As a command prints them.
    std::string toString(std::string_view fileName) const { return dmFindingsText(fileName, findings()); }

private:
    /// What few findings have before the document is there.
    struct Further
    {
        std::uint32_t column = 0;
        std::string nodePath, clip, track, record, subject;
    };
    /// A finding on its way: a third of its size, as long as the file is in memory too.
    struct Kept
    {
        std::string text;
        const char* code;
        CoSharedPtr<DmTreeNode> node;     ///< that it is about
        std::shared_ptr<Further> further; ///< copies of the report share it until one changes it
        std::uintptr_t expected;          ///< what it is about, as long as nothing was made of that; 0 for nothing
        std::uint32_t next;               ///< that waits in the same row
        std::uint32_t line;
        Level severity;

        Further& own()
        {
            if (!further || further.use_count() > 1)
                further = further ? std::make_shared<Further>(*further) : std::make_shared<Further>();
            return *further;
        }
        DmFinding whole() const&;
        DmFinding whole() &&;

    private:
        void complete(DmFinding& finding) const;
    };
    static constexpr std::uint32_t none = ~std::uint32_t{0};
    void settle(std::uintptr_t thing, const DmTreeNode& node);
    void expectLine();
    void wait(std::uintptr_t thing);
    void sort();

    Leniency _leniency;
    Where _where;
    std::deque<Kept> _kept;
    std::size_t _left = 0;                ///< were not kept
    std::vector<std::uint32_t> _expected; ///< rows of those that wait, by what they are about: a thing, or its line
    std::size_t _waiting = 0;
    bool _isLineOpen = false; ///< the last one is about its line, unless something is said to be expected
    std::vector<NodePlace> _places;
    std::array<std::size_t, 3> _counts{}; ///< of findings added
};

} // namespace interchange
