// The loaded state of an object, as the inspector shows it.
#ifndef TLVSTD_TOOLS_ARCHIVE_DESCRIBE_H
#define TLVSTD_TOOLS_ARCHIVE_DESCRIBE_H

#include "budget.h"
#include "tree.h"

#include <filesystem>

class ycPersistent;

// An object node: "class" (the registered type name) first, then the state
// a user of the class sees. Every node made is spent from `fields`.
Node describe(const ycPersistent& object, Budget& fields);

// Writes a pel buffer's window, or a whole pel root, as a PNG.
void writePng(const ycPersistent& object, const std::filesystem::path& path);

#endif
