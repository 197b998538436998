#include "dmHistory.h"

#include "dmTimelineImp.h"

#include <algorithm>

DmHistory::DmHistory(DmTimeline start)
    : _current(std::move(start))
{
    _steps.push_back({std::wstring(), _current.shareValue(), 0});
    _saved = _steps.front().value;
}

DmTimeline DmHistory::current() const
{
    const std::lock_guard guard(_mutex);
    return _current;
}

void DmHistory::setCurrent(const Value& value)
{
    // Made outside of the mutex, dropped outside of it.
    DmTimeline timeline = value ? DmTimeline(value, _current) : DmTimeline();
    const std::lock_guard guard(_mutex);
    std::swap(_current, timeline);
}

void DmHistory::dropUndone()
{
    const auto behind = _steps.begin() + static_cast<std::ptrdiff_t>(_position) + 1;
    if (_keepsBranches && behind != _steps.end())
        _branches.push_back({_steps[_position].value, {behind, _steps.end()}});
    _steps.erase(behind, _steps.end());
}

void DmHistory::keepLimits()
{
    const auto isOver = [this]
    { return (_stepLimit > 0 && count() > _stepLimit) || (_byteLimit > 0 && bytes() > _byteLimit); };
    while (!_branches.empty() && _byteLimit > 0 && bytes() > _byteLimit)
        _branches.erase(_branches.begin());
    while (_position > 1 && isOver())
    {
        _steps.erase(_steps.begin());
        --_position;
    }
    std::erase_if(_branches, [this](const Branch& branch)
                  { return std::ranges::find(_steps, branch.from, &Step::value) == _steps.end(); });
}

void DmHistory::add(const DmString& name, const DmTimeline& timeline, std::size_t bytes)
{
    if (_open)
        close();
    dropUndone();
    _steps.push_back({std::wstring(name.view()), timeline.shareValue(), bytes});
    ++_position;
    {
        DmTimeline next = timeline;
        const std::lock_guard guard(_mutex);
        std::swap(_current, next);
    }
    keepLimits();
}

DmString DmHistory::undoName() const
{
    return canUndo() ? DmString(std::wstring_view(_steps[_position].name)) : DmString();
}

DmString DmHistory::redoName() const
{
    return canRedo() ? DmString(std::wstring_view(_steps[_position + 1].name)) : DmString();
}

bool DmHistory::undo()
{
    if (!canUndo())
        return false;
    setCurrent(_steps[--_position].value);
    return true;
}

bool DmHistory::redo()
{
    if (!canRedo())
        return false;
    setCurrent(_steps[++_position].value);
    return true;
}

void DmHistory::open(const DmString& name)
{
    if (_open)
        close();
    _open = true;
    _opened = {std::wstring(name.view()), _steps[_position].value, 0};
}

DmTimeline DmHistory::start() const
{
    const Value& value = _steps[_position].value;
    return value ? DmTimeline(value, current()) : DmTimeline();
}

void DmHistory::update(const DmTimeline& timeline, std::size_t bytes)
{
    if (!_open)
        return;
    _opened.value = timeline.shareValue();
    _opened.bytes = bytes;
    DmTimeline next = timeline;
    const std::lock_guard guard(_mutex);
    std::swap(_current, next);
}

void DmHistory::close()
{
    if (!_open)
        return;
    _open = false;
    Step step;
    std::swap(step, _opened);
    if (step.value != _steps[_position].value)
        add(DmString(std::wstring_view(step.name)), current(), step.bytes);
}

void DmHistory::abandon()
{
    if (!_open)
        return;
    _open = false;
    _opened = Step();
    setCurrent(_steps[_position].value);
}

void DmHistory::setLimit(std::size_t steps)
{
    _stepLimit = steps;
    keepLimits();
}

void DmHistory::setByteLimit(std::size_t bytes)
{
    _byteLimit = bytes;
    keepLimits();
}

std::size_t DmHistory::bytes() const
{
    std::size_t sum = 0;
    for (const Step& step : _steps)
        sum += step.bytes;
    for (const Branch& branch : _branches)
        for (const Step& step : branch.steps)
            sum += step.bytes;
    return sum;
}

void DmHistory::markSaved()
{
    _saved = current().shareValue();
}

bool DmHistory::isSaved() const
{
    return current().shareValue() == _saved;
}

bool DmHistory::takeBranch(std::size_t branch)
{
    if (_open || branch >= _branches.size())
        return false;
    const auto from = std::ranges::find(_steps, _branches[branch].from, &Step::value);
    if (from == _steps.end())
        return false;
    const Branch taken = _branches[branch];
    _branches.erase(_branches.begin() + static_cast<std::ptrdiff_t>(branch));
    _position = static_cast<std::size_t>(from - _steps.begin());
    const bool keeps = _keepsBranches;
    _keepsBranches = true;
    dropUndone();
    _keepsBranches = keeps;
    _steps.insert(_steps.end(), taken.steps.begin(), taken.steps.end());
    setCurrent(_steps[_position].value);
    return true;
}
