/// What a CoWeakSubject tells its observers: an id that says what changed, and whatever a derived class adds.
///
///     class ClipMoved : public DM::CoSubjectHint
///     {
///     public:
///         static int class_id() { static const int id = unique_SH_id(); return id; }
///         explicit ClipMoved(double frames) : CoSubjectHint(class_id()), _frames(frames) {}
///         double frames() const { return _frames; }
///     private:
///         double _frames;
///     };
#pragma once

#include "zrExport.h"

#include <cstdint>

namespace DM
{

class ZR_DM_API CoSubjectHint
{
public:
    explicit CoSubjectHint(int id = -1)
        : _id(id)
    {
    }
    virtual ~CoSubjectHint() = default;

    int id() const { return _id; }

    /// A new id at each call, from 1 on; a hint class takes one once. Safe from any thread.
    static int unique_SH_id();

private:
    std::int32_t _id;
};

/// There is nothing to tell: it is never dispatched.
class ZR_DM_API CoNoHint : public CoSubjectHint
{
public:
    static constexpr int class_id = 0;

    CoNoHint()
        : CoSubjectHint(class_id)
    {
    }
};

} // namespace DM
