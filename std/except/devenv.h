// The development environment: canonical type names, cancellation.
#ifndef TLVSTD_EXCEPT_DEVENV_H
#define TLVSTD_EXCEPT_DEVENV_H

#include "std/except/except.h"

#include <string>

class TLVSTD_API ycDevEnv {
public:
    // The registry's spelling of a compiler's type name, by three literal text
    // edits in this order: every "class " removed; the blank of every "> "
    // removed ("A<B<C> >" becomes "A<B<C>>"); every "wchar_t" replaced by
    // "unsigned short".
    static std::string canonicalTypeName(const char* compilerTypeName);

    ymErrorGroup(ycException);
    ymError(UserCancelled, Errors);
};

#endif
