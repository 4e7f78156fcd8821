// Pel packages and aligned pel blocks.
//
// A package supplies pels made elsewhere (an acquisition buffer, a block read
// from a device): a root built over a package takes its geometry and its pels
// from it and holds a share of it while it uses them. Packages are counted
// objects that live on the heap, held by ycPtrHandle: a root refuses (an
// assertion; the root stays empty) a package that no handle holds, so a
// package on the stack is never deleted by the library. A package class of
// your own is made with new, straight into a handle.
//
// ycPelBlockPackage is the plain package: it owns one block of pels, rows
// padded to the alignment like an owned root's, with optional readable bytes
// after the last row for decoders that read a little past their data. Only
// its factory, make, builds one, so it is always held by a handle.
#ifndef TLVSTD_PELBUF_PACKAGE_H
#define TLVSTD_PELBUF_PACKAGE_H

#include "std/config.h"
#include "std/util/handle.h"

#include <cstddef>
#include <cstdint>

class yc_PelRoot;

// A block of `bytes` bytes whose first byte lies at an address whose low 32
// bits are a multiple of `alignModulus` and which is a multiple of `pelAlign`.
// `raw` is what goes back to yfFreePelBlock. Sizes that overflow, and
// allocation failures, are std::bad_alloc.
struct yc_PelBlock {
    void* raw = nullptr;
    void* pels = nullptr;
};
TLVSTD_API yc_PelBlock yfAllocPelBlock(std::uint64_t bytes, std::int32_t alignModulus, std::size_t pelAlign);
TLVSTD_API void yfFreePelBlock(void* raw) noexcept;

class TLVSTD_API yc_PelPackage : public ycRepBase {
public:
    ~yc_PelPackage() override;

    virtual std::int32_t width() const = 0;
    virtual std::int32_t height() const = 0;
    // Distance from one row to the next in pels; 0 lets the root compute it
    // from the alignment as it does for owned pels.
    virtual std::int32_t rowUpdate() const = 0;
    virtual std::int32_t alignModulus() const = 0;
    virtual std::size_t pelSize() const = 0;
    // Hands the pels to `root`; returns the address of pel (0, 0).
    virtual void* supplyPels(yc_PelRoot& root) = 0;

protected:
    yc_PelPackage() = default;
    yc_PelPackage(const yc_PelPackage&) = delete;
    yc_PelPackage& operator=(const yc_PelPackage&) = delete;
};

class TLVSTD_API ycPelBlockPackage : public yc_PelPackage {
public:
    // Room for width x height pels of `pelSize` bytes (1, 2, 4 or 8), each row
    // padded to a multiple of `alignModulus` bytes, and `tailBytes` more.
    // Arguments below 1 are assertions (and an empty package).
    static ycPtrHandle<ycPelBlockPackage> make(std::int32_t width, std::int32_t height, std::size_t pelSize,
                                               std::int32_t alignModulus, std::size_t tailBytes = 0);
    ~ycPelBlockPackage() override;

    std::int32_t width() const override { return width_; }
    std::int32_t height() const override { return height_; }
    std::int32_t rowUpdate() const override { return rowUpdate_; }
    std::int32_t alignModulus() const override { return alignModulus_; }
    std::size_t pelSize() const override { return pelSize_; }
    void* supplyPels(yc_PelRoot& root) override;

    unsigned char* bytes() const { return static_cast<unsigned char*>(block_.pels); }
    // Bytes of the block, the tail included.
    std::size_t byteSize() const { return byteSize_; }

protected:
    ycPelBlockPackage(std::int32_t width, std::int32_t height, std::size_t pelSize, std::int32_t alignModulus,
                      std::size_t tailBytes);

private:
    yc_PelBlock block_;
    std::size_t byteSize_ = 0;
    std::size_t pelSize_ = 1;
    std::int32_t width_ = 0;
    std::int32_t height_ = 0;
    std::int32_t rowUpdate_ = 0;
    std::int32_t alignModulus_ = 1;
};

#endif
