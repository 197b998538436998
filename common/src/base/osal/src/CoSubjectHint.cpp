#include "CoSubjectHint.h"

#include <atomic>

namespace DM
{

int CoSubjectHint::unique_SH_id()
{
    static std::atomic<int> last = CoNoHint::class_id;
    return ++last;
}

} // namespace DM
