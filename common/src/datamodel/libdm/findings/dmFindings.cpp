#include "dmFindings.h"

#include "dmRulesImp.h"
#include "dmStoredLabel.h"
#include "dmTransitionNode.h"
#include "dmUtf8.h"

#include "tuLabel.h"

#include <algorithm>
#include <cctype>

// What rules share

std::string dmLabelText(double frames, DM::FrameCodeModes fcm)
{
    return DM::TimeLabel::text(DM::TimeUnit(frames), fcm);
}

std::string dmLengthText(double frames, DM::FrameCodeModes fcm)
{
    unsigned num = 0;
    unsigned den = 1;
    const double rounded = std::round(frames * 1000.0) / 1000.0;
    const bool hasRate = DM::FcmUtil::getRational(fcm, num, den, false) && den != 0;
    if (hasRate && rounded >= static_cast<double>(num) / den && rounded == std::floor(rounded))
        return dmLabelText(rounded, fcm);
    std::string text = std::to_string(rounded);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.')
        text.pop_back();
    return text + (rounded == 1.0 ? " frame" : " frames");
}

bool dmReachesBeyond(const DmTransitionNode& transition, const DmSegmentNode& previous, const DmSegmentNode& next)
{
    return transition.getRecOut() > next.getRecOut() + dmTimeTolerance ||
           transition.getRecIn() < previous.getRecIn() - dmTimeTolerance || next.getRecLength() < 0.0;
}

std::string dmCountText(std::size_t count, const char* noun)
{
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

const char* dmFindingGroup(std::string_view code)
{
    static constexpr const char* groups[] = {"structure", "times", "cut", "media", "delivery", "reading", "writing"};
    if (code.size() == 5 && code.starts_with("DM") && code[2] >= '1' && code[2] <= '7')
        return groups[code[2] - '1'];
    return "added";
}

bool dmMatchesPattern(std::wstring_view text, std::wstring_view pattern)
{
    std::size_t t = 0;
    std::size_t p = 0;
    std::size_t star = pattern.npos;
    std::size_t from = 0;
    while (t < text.size())
    {
        if (p < pattern.size() && pattern[p] == L'*')
        {
            star = p++;
            from = t;
        }
        else if (p < pattern.size() && (pattern[p] == L'?' || pattern[p] == text[t]))
        {
            ++p;
            ++t;
        }
        else if (star != pattern.npos)
        {
            p = star + 1;
            t = ++from;
        }
        else
            return false;
    }
    return pattern.find_first_not_of(L'*', p) == pattern.npos;
}

bool dmMatchesPattern(std::string_view text, std::string_view pattern)
{
    DmString wideText;
    DmString widePattern;
    return dmFromUtf8(text, wideText) && dmFromUtf8(pattern, widePattern) &&
           dmMatchesPattern(wideText.view(), widePattern.view());
}

std::string dmRulePage(const DmRule& rule)
{
    std::string page = std::string("## ") + rule.code + " " + rule.name + "\n\n";
    page += std::string("Finds ") + rule.line + ". A" + (rule.severity == DmFinding::Error ? "n " : " ");
    DmFinding finding;
    finding.severity = rule.severity;
    page += std::string(finding.severityName()) + " of the group " + dmFindingGroup(rule.code) +
            (rule.isOn ? ".\n\n" : ", only when selected.\n\n");
    const auto add = [&page](const char* title, const char* text)
    {
        if (*text)
            page += std::string(title) + text + "\n\n";
    };
    add("**Why.** ", rule.why);
    if (*rule.example)
        page += std::string("**Example.**\n\n```\n") + rule.example + "\n```\n\n";
    add("**Mending.** ", rule.mending);
    page.pop_back();
    return page;
}

// A run

DmRuleRun::DmRuleRun(const DmTreeNode& tree, const DmFindingOptions& options, std::vector<const DmRule*> rules)
    : _views(tree)
    , _options(options)
    , _rules(std::move(rules))
{
}

template <class Function, class... Place>
void DmRuleRun::call(const std::vector<Of<Function>>& all, const Place&... place)
{
    for (const Of<Function>& each : all)
    {
        _rule = each.rule;
        each.function(*this, place...);
    }
}

void DmRuleRun::look()
{
    for (_rule = 0; _rule < _rules.size(); ++_rule)
        _rules[_rule]->find(*this);
    // Shot by shot, and not rule by rule: what a shot is made of lies in a dozen places of memory, which are fetched
    // once for all rules.
    for (const DmCutView& cut : cuts())
        for (const DmLaneView& lane : cut.lanes)
        {
            auto shot = lane.shots.begin();
            for (int i = 0; i < static_cast<int>(lane.elements.size()); ++i)
            {
                call(_seeElement, cut, lane, i);
                if (shot != lane.shots.end() && shot->position == i)
                    call(_seeShot, cut, lane, *shot++);
            }
        }
    call(_atEnd);
    std::ranges::stable_sort(
        _items, {}, [](const Item& item) { return std::tuple(item.cut, item.lane, item.position, item.rule); });
}

const DmRuleRun::Added& DmRuleRun::Added::mend(Mending kind, std::function<eDmErrorId()> how) const
{
    Item& item = _run->_items.back();
    item.kind = kind;
    item.how = std::move(how);
    return *this;
}

DmRuleRun::Item& DmRuleRun::addItem(std::string text)
{
    Item& item = _items.emplace_back();
    item.rule = _rule;
    item.finding.code = _rules[_rule]->code;
    item.finding.severity = _rules[_rule]->severity;
    item.finding.text = std::move(text);
    return item;
}

DmRuleRun::Added DmRuleRun::add(std::string path, std::string text)
{
    Item& item = addItem(std::move(text));
    item.finding.nodePath = std::move(path);
    return {*this, &item.finding};
}

DmRuleRun::Added DmRuleRun::add(const DmCutView& cut, std::string text, std::optional<double> time)
{
    const Added added = add(cut.path, std::move(text));
    const DmString& name = cut.composition->getName();
    added->clip = name == L"untitled" ? "" : dmUtf8(name);
    _items.back().cut = cut.index;
    if (time)
        setTime(cut, nullptr, *time);
    return added;
}

void DmRuleRun::setTime(const DmCutView& cut, const DmLaneView* lane, double time)
{
    Item& item = _items.back();
    item.finding.record = cut.composition->getRecordLabel(time);
    if (const auto picture = std::ranges::find_if(cut.lanes, &DmLaneView::isPicture);
        !lane && picture != cut.lanes.end())
        lane = &*picture;
    if (lane)
        item.finding.subject =
            lane->subjectAround(std::ranges::upper_bound(lane->shots, time, {}, &DmShotView::recIn)) + ": " +
            item.finding.text;
}

DmRuleRun::Added DmRuleRun::add(const DmCutView& cut, const DmLaneView& lane, std::string text,
                                std::optional<double> time)
{
    const Added added = add(cut, std::move(text));
    if (time)
        setTime(cut, &lane, *time);
    std::string& path = added->nodePath;
    path += (path.empty() ? "children[" : "/children[") + std::to_string(lane.trackIndex) + "]/children[" +
            std::to_string(lane.layerIndex) + ']';
    added->clip = "";
    added->track = lane.name;
    _items.back().lane = static_cast<int>(&lane - cut.lanes.data());
    return added;
}

DmRuleRun::Added DmRuleRun::add(const DmCutView& cut, const DmLaneView& lane, int position, std::string text)
{
    const DmTreeNode* const node = lane.layer->getChild(position);
    std::optional<double> time;
    const DmSegmentNode* const segment = node ? node->asSegment() : nullptr;
    const DmTransitionNode* const transition = node ? node->asTransition() : nullptr;
    if (segment)
        time = segment->getRecIn();
    else if (transition)
        time = transition->getRecIn();
    const Added added = add(cut, lane, std::move(text), time);
    added->nodePath += "/children[" + std::to_string(position) + ']';
    if (segment && segment->getName() != L"untitled")
        added->clip = dmUtf8(segment->getName());
    added->subject = lane.subjectAt(position);
    _items.back().position = position;
    return added;
}

DmRuleRun::Added DmRuleRun::add(const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot, std::string text)
{
    const Added added = add(cut, lane, shot.position, std::move(text));
    added->clip = dmUtf8(shot.name());
    return added;
}

// All rules

namespace
{

/// Whether a word names a code: it itself or its begin, its rule's name, its group, or "all".
bool names(std::string_view word, std::string_view code, std::string_view name)
{
    const auto same = [](char a, char b)
    { return std::toupper(static_cast<unsigned char>(a)) == std::toupper(static_cast<unsigned char>(b)); };
    const auto equal = [&](std::string_view a, std::string_view b)
    { return std::equal(a.begin(), a.end(), b.begin(), b.end(), same); };
    return !word.empty() && (equal(word, code.substr(0, word.size())) || equal(word, "all") ||
                             (!name.empty() && equal(word, name)) || equal(word, dmFindingGroup(code)));
}

bool names(const std::vector<std::string>& words, std::string_view code, std::string_view name)
{
    return std::ranges::any_of(words, [&](const std::string& word) { return names(word, code, name); });
}

} // namespace

DmFindings::DmFindings(DmFindingOptions options)
    : _options(std::move(options))
{
}

std::span<const DmRule> DmFindings::ownRules()
{
    static const std::vector<DmRule> all = []
    {
        std::vector<DmRule> rules;
        for (const auto* const group : {&dmStructureRules(), &dmLayoutRules(), &dmTimeRules(), &dmCutRules(),
                                        &dmProgrammeRules(), &dmMediaRules()})
            rules.insert(rules.end(), group->begin(), group->end());
        return rules;
    }();
    return all;
}

std::vector<const DmRule*> DmFindings::rules() const
{
    std::vector<const DmRule*> all;
    for (const DmRule& rule : ownRules())
        all.push_back(&rule);
    for (const DmRule& rule : _added)
        all.push_back(&rule);
    return all;
}

bool DmFindings::addRule(DmRule rule)
{
    const std::string_view code = rule.code;
    const std::string_view name = rule.name;
    if (code.empty() || name.empty() || !rule.find || dmFindingCode(code) ||
        std::ranges::any_of(rules(), [&](const DmRule* each) { return code == each->code || name == each->name; }))
        return false;
    _added.push_back(std::move(rule));
    return true;
}

bool DmFindings::isOn(std::string_view code) const
{
    const std::vector<const DmRule*> all = rules();
    const auto found = std::ranges::find(all, code, [](const DmRule* rule) { return std::string_view(rule->code); });
    const DmRule* const rule = found == all.end() ? nullptr : *found;
    const std::string_view name = rule ? rule->name : "";
    const bool selected = _options.select.empty() ? !rule || rule->isOn : names(_options.select, code, name);
    return selected && !names(_options.ignore, code, name);
}

std::vector<std::string> DmFindings::unknownWords() const
{
    std::vector<std::string> unknown;
    for (const auto* const words : {&_options.select, &_options.ignore})
        for (const std::string& word : *words)
        {
            const auto named = [&word](const DmRule* rule) { return names(word, rule->code, rule->name); };
            const auto isCode = [&word](const DmFindingCode& code) { return names(word, code.code, ""); };
            if (std::ranges::none_of(rules(), named) && std::ranges::none_of(dmFindingCodes(), isCode))
                unknown.push_back(word);
        }
    return unknown;
}

DmRuleRun DmFindings::run(const DmTreeNode& tree) const
{
    std::vector<const DmRule*> on = rules();
    std::erase_if(on, [this](const DmRule* rule) { return !isOn(rule->code); });
    DmRuleRun run(tree, _options, std::move(on));
    run.look();
    return run;
}

std::vector<DmFinding> DmFindings::find(const DmTreeNode& tree) const
{
    DmRuleRun found = run(tree);
    std::vector<DmFinding> findings;
    findings.reserve(found._items.size());
    for (DmRuleRun::Item& item : found._items)
        findings.push_back(std::move(item.finding));
    return findings;
}

DmFindings::Mended DmFindings::mend(DmTreeNode& tree, DmRuleRun::Mending upTo) const
{
    constexpr int mostRounds = 20; // one mending uncovers the next; a few rounds do
    Mended mended;
    for (int round = 0; round < mostRounds; ++round)
    {
        DmRuleRun found = run(tree);
        int count = 0;
        // From the back: what is inserted moves nothing that is yet to be mended.
        for (auto item = found._items.rbegin(); item != found._items.rend(); ++item)
        {
            if (!item->how || (item->kind == DmRuleRun::Mending::Unsafe && upTo == DmRuleRun::Mending::Safe))
                continue;
            const eDmErrorId status = item->how();
            if (status == DM_NO_ERROR)
                ++count;
            else if (mended.status == DM_NO_ERROR)
                mended.status = status;
        }
        mended.count += count;
        if (count == 0)
            break;
    }
    return mended;
}
