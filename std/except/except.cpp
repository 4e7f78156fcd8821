#include "std/except/except.h"

#include "std/except/registry.h"
#include "std/util/sources.h"
#include "std/util/text.h"

#include <locale>
#include <sstream>
#include <string>

namespace {
constexpr const char* kSourceName = ycSource::except;
}

ycException::~ycException() = default;

void yfThrowingAssertHandler(const char* file, int line)
{
    throw ycAssertFailure(yfWiden(std::string(file ? file : "?") + "(" + std::to_string(line) + "): assertion failed"));
}

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

ycUnknownError::ycUnknownError(std::int32_t code)
    : ycExceptionWithString(code == 0 ? std::wstring()
                                      : L"Internal error code: " + yfHex8(static_cast<std::uint32_t>(code)))
{
}
