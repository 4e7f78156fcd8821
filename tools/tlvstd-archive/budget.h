// The work one command of the inspector may do.
//
// Everything the inspector reads comes from a file someone else wrote, so
// each kind of work it repeats per item of the file has a budget: records
// walked, fields described. A command that spends a budget stops with
// LimitReached, whose text names the limit ("the limit of 1000000 records"),
// and the tool reports it instead of running on. Loading itself is bounded by
// the archive (it takes no memory the stream cannot back, and nests records
// at most 1000 deep).
#ifndef TLVSTD_TOOLS_ARCHIVE_BUDGET_H
#define TLVSTD_TOOLS_ARCHIVE_BUDGET_H

#include <cstdint>
#include <stdexcept>
#include <string>

class LimitReached : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class Budget {
public:
    static constexpr std::uint64_t kDefault = 1000000;

    // `unit` names what is counted, in the plural ("records").
    Budget(std::uint64_t limit, const char* unit) : left_(limit), limit_(limit), unit_(unit) {}

    void spend(std::uint64_t n = 1)
    {
        if (n > left_)
            throw LimitReached("stopped at the limit of " + std::to_string(limit_) + " " + unit_);
        left_ -= n;
    }
    std::uint64_t limit() const { return limit_; }

private:
    std::uint64_t left_;
    std::uint64_t limit_;
    const char* unit_;
};

#endif
