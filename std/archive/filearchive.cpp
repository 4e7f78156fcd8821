#include "std/archive/filearchive.h"

#include "std/util/text.h"

#include <filesystem>

ycFileArchive::ycFileArchive(const std::wstring& path, Direction direction, Ordering ordering, bool seekable,
                             bool readOnly)
    : ycArchive(&file_, direction, ordering, seekable, readOnly)
{
    auto mode = std::ios_base::binary | std::ios_base::in;
    if (direction == storing) {
        mode |= std::ios_base::out | std::ios_base::trunc;
    } else if (!readOnly) {
        mode |= std::ios_base::out;
    }
    // Some systems open a directory for reading and fail only at the first read.
    std::error_code error;
    if (std::filesystem::is_directory(yfPath(path), error) || !file_.open(yfPath(path), mode))
        throw BadFile((L"Could not open file: " + path).c_str(), 0);
    start();
}

ycFileArchive::~ycFileArchive()
{
    finish();
}
