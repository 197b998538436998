/// What the examples of headers take from around them.
#pragma once

#include <ZRdmtree.h>
#include <icInterchange.h>
#include <icLeftovers.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <unistd.h>
#include <vector>

using namespace DM;
using namespace interchange;

namespace
{

// An editor's program.

struct Button
{
    void enable(bool /*on*/) {}
};
[[maybe_unused]] Button button;

template <class... T>
void show(const T&... /*values*/)
{
}
template <class... T>
void list(const T&... /*values*/)
{
}
template <class... T>
void save(const T&... /*values*/)
{
}

const Format& format = *formatNamed("json");
struct NoBytes final : Source
{
    std::size_t read(char* /*to*/, std::size_t /*size*/) override { return 0; }
} file;
std::string description;

// A cut, and what is done with it.

CoSharedPtr<DmRoot> root, before, after, base, ours, theirs, other;
CoSharedPtr<DmCompositionNode> composition;
CoSharedPtr<DmSourceNode> segment;
CoSharedPtr<DmTreeNode> source, dissolve, next;
CoSharedPtr<DmGapNode> title;
CoSharedPtr<DmCueMark> mark;
CoSharedPtr<DmKeyFrame> key;
DmTimeline timeline;
DmEdit edit(timeline);
DmElementPlace place, seam, shot;
DmFindings findings;
std::vector<DmFinding> found;
constexpr double playhead = 1.0;
constexpr double wanted = 1.0;

// What is below it.

CoMutex mutex;
CoWeakSubject subject;
constexpr CoLockWord::Flags dirty = 1;
const wchar_t* const name = L"a name";
const wchar_t* const clipName = L"a clip";
const char* const path = "a path";
const char* const reason = "a reason";
const std::string text = "a text";
constexpr int count = 1;

} // namespace
