#include "std/except/devenv.h"

namespace {

void replaceAll(std::string& text, std::string_view from, std::string_view to)
{
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

} // namespace

std::string ycDevEnv::canonicalTypeName(const char* compilerTypeName)
{
    std::string name = compilerTypeName ? compilerTypeName : "";
    replaceAll(name, "class ", "");
    replaceAll(name, "> ", ">");
    replaceAll(name, "wchar_t", "unsigned short");
    return name;
}
