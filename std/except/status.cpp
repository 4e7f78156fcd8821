#include "std/except/status.h"

#include "core/ycore.h"

yeFailure yf_FailureOf(std::int32_t status)
{
    static constexpr struct {
        std::int32_t status;
        yeFailure failure;
    } kTable[] = {
        {YSTD_OK, yeFailure::none},
        {YSTD_ERR_NO_MEMORY, yeFailure::noMemory},
        {YSTD_ERR_BAD_ARGUMENT, yeFailure::badArgument},
        {YSTD_ERR_BAD_IMAGE, yeFailure::badArgument},
        {YSTD_ERR_UNSUPPORTED, yeFailure::unsupported},
    };
    if (status > 0) return yeFailure::none;
    for (const auto& row : kTable)
        if (row.status == status) return row.failure;
    return yeFailure::other;
}
