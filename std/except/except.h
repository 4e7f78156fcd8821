// The error model.
//
// Every failure the library reports is an exception derived from ycException:
// a persistent object (it goes through any archive and comes back as its own
// class) with a fixed 32-bit error number 0x1000GGMM (group, member).
//
// A class nests its failures in a group named Errors, and the members of the
// group beside it: catching ycArchive::Errors catches every archive failure,
// catching ycException catches all. A group has one of three shapes:
//   - plain (on ycException): no data; members have a default constructor;
//   - file and line: ycArchive::Errors alone (see std/archive/archive.h);
//   - message (on ycExceptionWithString): a free text describing the failure.
// Throw the most specific member by value, catch by reference.
//
// message(true) is the canonical class name, ": ", then the class's text;
// a class without a text of its own says "no further information provided".
//
// Numbers that the error table leaves blank are ours: yc_ParseError is
// 0x10000002, ycAdaptiveRANSACDefs::InsufficientDataPoints 0x10000f45.
#ifndef TLVSTD_EXCEPT_EXCEPT_H
#define TLVSTD_EXCEPT_EXCEPT_H

#include "std/except/persistent.h"
#include "std/config.h"

#include <concepts>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <type_traits>
#include <utility>

class TLVSTD_API ycException : public ycPersistent {
public:
    ~ycException() override;

    virtual std::int32_t errorNumber() const = 0;
    // For an exception that lives on the heap (one loaded from an archive):
    // deletes it and throws a copy as its most-derived class.
    virtual void suicideAndRethrow() = 0;

    std::wstring message(bool withTypeName) const;
    void message(std::wostream& os) const; // message(true)

protected:
    ycException() = default;
    ycException(const ycException&) = default;
    ycException& operator=(const ycException&) = default;

    // Writes the class-specific part of the message.
    virtual void message_(std::wostream& os) const;
    void dispatchSerialize(ycArchive& ar) override;
};

class TLVSTD_API ycExceptionWithString : public ycException {
public:
    const std::wstring& info() const { return info_; }

protected:
    ycExceptionWithString() = default;
    explicit ycExceptionWithString(const std::wstring& info) : info_(info) {}
    explicit ycExceptionWithString(const wchar_t* info) : info_(info ? info : L"") {}

    void message_(std::wostream& os) const override;
    void dispatchSerialize(ycArchive& ar) override;

private:
    std::wstring info_;
};

// True when the arguments are exactly one object of class C (or derived):
// those go to the copy and move constructors, not the forwarding one.
template <class C, class... A>
concept yc_IsCopyOf = sizeof...(A) == 1 && (std::derived_from<std::remove_cvref_t<A>, C> && ...);

// The group base of an owner class, on ycException (plain) or on
// ycExceptionWithString (message group).
#define ymErrorGroup(BaseClass)                                                          \
    class TLVSTD_API Errors : public BaseClass {                                        \
    public:                                                                              \
        using ycErrorBase = BaseClass;                                                   \
                                                                                         \
    protected:                                                                           \
        template <class... A>                                                            \
            requires(!yc_IsCopyOf<Errors, A...>)                                         \
        explicit Errors(A&&... a) : BaseClass(std::forward<A>(a)...)                     \
        {                                                                                \
        }                                                                                \
        void dispatchSerialize(ycArchive& ar) override;                                  \
    }

// A member of a group: the constructors of its group, its number, persistence.
// The number and the rest are defined in the error table (errors.cpp).
#define ymError(Name, BaseClass)                                                         \
    class TLVSTD_API Name : public BaseClass {                                          \
    public:                                                                              \
        using ycErrorBase = BaseClass;                                                   \
        template <class... A>                                                            \
            requires(!yc_IsCopyOf<Name, A...>)                                           \
        explicit Name(A&&... a) : BaseClass(std::forward<A>(a)...)                       \
        {                                                                                \
        }                                                                                \
        std::int32_t errorNumber() const override;                                       \
        void suicideAndRethrow() override;                                               \
                                                                                         \
    protected:                                                                           \
        void dispatchSerialize(ycArchive& ar) override;                                  \
    }

// Stand-alone exceptions.
ymError(ycInvariantFailure, ycException);
ymError(ycAssertFailure, ycExceptionWithString);
ymError(ycBadPointer, ycException);
ymError(ycSysTimeBadArgument, ycException);
ymError(ycUnsupportedHW, ycException);
ymError(ycBadUnicodeChar, ycException);
ymError(yc_ParseError, ycExceptionWithString);

// An assertion handler (see std/util/assert.h) that throws ycAssertFailure
// with the text "file(line): assertion failed"; the test suites install it.
TLVSTD_API void yfThrowingAssertHandler(const char* file, int line);

// An error number without a class of its own: its text is "Internal error
// code: " and the code in 8 hexadecimal digits, or empty for code 0.
class TLVSTD_API ycUnknownError : public ycExceptionWithString {
public:
    using ycErrorBase = ycExceptionWithString;
    explicit ycUnknownError(std::int32_t code = 0);
    std::int32_t errorNumber() const override;
    void suicideAndRethrow() override;

protected:
    void dispatchSerialize(ycArchive& ar) override;
};

#endif
