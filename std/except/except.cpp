#include "std/except/except.h"

#include "std/archive/archive.h"
#include "std/archive/registry.h"
#include "std/util/sources.h"
#include "std/util/text.h"

#include <locale>
#include <sstream>

namespace {
constexpr const char* kSourceName = ycSource::except;
}

ycException::~ycException() = default;

std::wstring ycException::message(bool withTypeName) const
{
    std::wostringstream os;
    os.imbue(std::locale::classic());
    if (withTypeName) os << yfWiden(yfTypeName(typeid(*this))) << L": ";
    message_(os);
    return os.str();
}

void ycException::message(std::wostream& os) const
{
    os << message(true);
}

void ycException::message_(std::wostream& os) const
{
    os << L"no further information provided";
}

void ycException::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) {
        if (version != 0) unknownVersion(kSourceName, __LINE__);
        ycPersistent::dispatchSerialize(ar);
    });
}

void ycExceptionWithString::message_(std::wostream& os) const
{
    if (info_.empty()) {
        ycException::message_(os);
    } else {
        os << info_;
    }
}

void ycExceptionWithString::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) {
        if (version != 0) unknownVersion(kSourceName, __LINE__);
        ycException::dispatchSerialize(ar);
        ar || info_;
    });
}

ycUnknownError::ycUnknownError(std::int32_t code)
    : ycExceptionWithString(code == 0 ? std::wstring()
                                      : L"Internal error code: " + yfHex8(static_cast<std::uint32_t>(code)))
{
}

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
        ar || file_ || line_;
    });
}

void ycArchive::UnknownType::message_(std::wostream& os) const
{
    os << yfWiden(typeName_);
    if (!file().empty()) os << L"; thrown from file: " << file() << L", line: " << line();
}
