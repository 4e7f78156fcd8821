// The library's own persistent classes, registered when the registry is first
// used (so a static link loses none of them). Each module adds its function.
#include "std/archive/registry.h"

void yf_RegisterErrorClasses(yc_TypeRegistry& registry);
void yf_RegisterMathClasses(yc_TypeRegistry& registry);
void yf_RegisterPelbufClasses(yc_TypeRegistry& registry);

void yf_RegisterLibraryClasses(yc_TypeRegistry& registry)
{
    yf_RegisterErrorClasses(registry);
    yf_RegisterMathClasses(registry);
    yf_RegisterPelbufClasses(registry);
}
