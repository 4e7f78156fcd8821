// The library's own classes, registered module by module, bottom up, when the
// type registry is first used: calling every module's function from here
// means a static link loses none of them.
#include "std/except/registry.h"

void yf_RegisterExceptClasses(yc_TypeRegistry& registry);
void yf_RegisterArchiveClasses(yc_TypeRegistry& registry);
void yf_RegisterMathClasses(yc_TypeRegistry& registry);
void yf_RegisterPelbufClasses(yc_TypeRegistry& registry);

void yf_RegisterLibraryClasses(yc_TypeRegistry& registry)
{
    yf_RegisterExceptClasses(registry);
    yf_RegisterArchiveClasses(registry);
    yf_RegisterMathClasses(registry);
    yf_RegisterPelbufClasses(registry);
}
