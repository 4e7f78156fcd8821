// Which vector target the dispatch uses here.
#include "core/ypel.h"

#if YCORE_SIMD
#include "hwy/targets.h"
#endif

extern "C" const char* yip_target(void)
{
#if YCORE_SIMD
    const auto targets = hwy::SupportedAndGeneratedTargets();
    return targets.empty() ? "none" : hwy::TargetName(targets.front());
#else
    return "scalar";
#endif
}
