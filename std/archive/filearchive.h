// Archives in files.
//
// The file is opened in binary mode: for loading a read-only archive, for
// reading only; otherwise for reading and writing, and a storing archive
// starts the file anew. A file that cannot be opened (a directory among
// them) is ycArchive::BadFile with the text "Could not open file: " and the
// path; a read or write error of the file later is BadBuffer.
#ifndef TLVSTD_ARCHIVE_FILEARCHIVE_H
#define TLVSTD_ARCHIVE_FILEARCHIVE_H

#include "std/archive/archive.h"

#include <fstream>
#include <string>

class TLVSTD_API ycFileArchive : public ycArchive {
public:
    ycFileArchive(const std::wstring& path, Direction direction, Ordering ordering = littleEndian,
                  bool seekable = false, bool readOnly = true);
    ~ycFileArchive() override;

private:
    std::filebuf file_;
};

#endif
