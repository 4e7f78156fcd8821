// The error table of the archive, and the bodies of the error model's classes
// that carry fields: those need the codec, which sits above the error model.
#include "std/archive/archive.h"
#include "std/except/error_table.h"
#include "std/util/sources.h"
#include "std/util/text.h"

#include <ostream>

namespace {
// Failures of these bodies name the error model, whose classes they are.
constexpr const char* kSourceName = ycSource::except;
} // namespace

#define ARCHIVE_ERROR_CLASSES(X)                      \
    X(ycArchive::Eof, 0x10000100)                     \
    X(ycArchive::BadBuffer, 0x10000101)               \
    X(ycArchive::BadType, 0x10000102)                 \
    X(ycArchive::BadContent, 0x10000103)              \
    X(ycArchive::NotFound, 0x10000104)                \
    X(ycArchive::Duplicate, 0x10000105)               \
    X(ycArchive::UnknownType, 0x10000106)             \
    X(ycArchive::UnknownVersion, 0x10000107)          \
    X(ycArchive::BadFile, 0x10000109)                 \
    X(ycArchive::UnknownArchiveVersion, 0x1000010a)   \
    X(ycArchive::CannotWriteToOldArchive, 0x1000010b) \
    X(ycArchive::NotSeekable, 0x1000010c)

ARCHIVE_ERROR_CLASSES(ymDefineError)

ycArchive::Errors::Errors(const char* file, int line) : file_(file ? yfWiden(file) : std::wstring()), line_(line) {}

ycArchive::Errors::Errors(const wchar_t* file, int line) : file_(file ? file : L""), line_(line) {}

void ycArchive::Errors::message_(std::wostream& os) const
{
    if (file_.empty()) {
        ycException::message_(os);
    } else if (line_ != 0) {
        os << L"thrown from file: " << file_ << L", line: " << line_;
    } else {
        os << file_;
    }
}

void ycArchive::Errors::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) {
        if (version != 0) unknownVersion(kSourceName, __LINE__);
        ycException::dispatchSerialize(ar);
        // Into copies: a load cut short leaves the error as it was.
        std::wstring file = file_;
        std::int32_t line = line_;
        ar || file || line;
        file_ = std::move(file);
        line_ = line;
    });
}

void ycArchive::UnknownType::message_(std::wostream& os) const
{
    os << yfWiden(typeName_);
    if (!file().empty()) os << L"; thrown from file: " << file() << L", line: " << line();
}

void ycExceptionWithString::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) {
        if (version != 0) unknownVersion(kSourceName, __LINE__);
        ycException::dispatchSerialize(ar);
        ar || info_;
    });
}

void yf_RegisterArchiveClasses(yc_TypeRegistry& registry)
{
    ARCHIVE_ERROR_CLASSES(ymRegisterError)
}
