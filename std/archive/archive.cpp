// The archive's own state (header, direction, the seekable operations'
// preconditions); everything else forwards to the codec, the seekable layer
// and the object table.
#include "std/archive/archive.h"

#include "std/archive/objects.h"
#include "std/archive/seekable.h"
#include "std/util/assert.h"
#include "std/util/debug.h"

namespace {

constexpr const char* kSourceName = ycSource::archive;

} // namespace

ycArchive::ycArchive(std::streambuf* buffer, Direction direction, Ordering ordering, bool seekable, bool readOnly)
    : codec_(buffer, direction == storing, ordering),
      readOnly_(direction == storing ? false : readOnly),
      seekable_(seekable)
{
}

ycArchive::~ycArchive() = default;

void ycArchive::start()
{
    if (isStoring()) {
        ymAssert(version_ <= 127);
        std::uint8_t head[2] = {static_cast<std::uint8_t>(version_ << 1 | (seekable_ ? 1 : 0)),
                                static_cast<std::uint8_t>(codec_.ordering())};
        codec_.putBytes(reinterpret_cast<const char*>(head), 2);
    } else {
        std::uint8_t first = codec_.get<std::uint8_t>();
        std::uint8_t order = codec_.get<std::uint8_t>();
        if ((first >> 1) > 1) throw UnknownArchiveVersion(kSourceName, __LINE__);
        if (((first & 1) != 0) != seekable_) throw BadType(kSourceName, __LINE__);
        if (order > 1) throw BadBuffer(kSourceName, __LINE__);
        version_ = static_cast<std::uint8_t>(first >> 1);
        codec_.ordering(order);
    }
    if (seekable_) layer_ = std::make_unique<yc_ArchiveSeekable>(codec_);
}

void ycArchive::finish() noexcept
{
    try {
        if (layer_ && layer_->changed() && isLoading()) mode(storing);
        if (isStoring()) sync();
    } catch (const ycException& e) {
        yfDebugLine(L"archive:" + std::to_wstring(__LINE__) +
                    L": (warning) ignoring exception thrown in ycArchive destructor: " + e.message(true));
    } catch (...) {
    }
}

void ycArchive::releaseLoaded()
{
    objects().releaseHeld();
}

yc_ArchiveObjects& ycArchive::objects()
{
    if (!objects_) objects_ = std::make_unique<yc_ArchiveObjects>(*this, codec_, layer_.get());
    return *objects_;
}

yc_ArchiveSeekable& ycArchive::seekable(int line)
{
    if (!layer_) throw NotSeekable(kSourceName, line);
    return *layer_;
}

ycArchive::pos ycArchive::tell()
{
    return codec_.tell();
}

void ycArchive::seek(pos position)
{
    seek(position, std::ios_base::beg);
}

void ycArchive::seek(std::int64_t offset, std::ios_base::seekdir whence)
{
    if (layer_) {
        layer_->seek(offset, whence);
    } else if (!codec_.seekBy(offset, whence)) {
        throw BadBuffer(kSourceName, __LINE__);
    }
}

void ycArchive::sync()
{
    if (layer_) layer_->sync();
    codec_.sync();
}

// --- directions -------------------------------------------------------------

void ycArchive::mode(Direction direction)
{
    yc_ArchiveSeekable& layer = seekable(__LINE__);
    ymAssert(direction == loading || !readOnly_);
    if (direction == storing && readOnly_) return;
    layer.direction(direction == storing);
}

void ycArchive::append()
{
    yc_ArchiveSeekable& layer = seekable(__LINE__);
    ymAssert(!readOnly_);
    if (readOnly_) return;
    layer.toEnd();
}

ycArchive* ycArchive::secondary()
{
    seekable(__LINE__);
    return secondary_;
}

void ycArchive::secondary(ycArchive* other)
{
    seekable(__LINE__);
    secondary_ = other;
}

// --- marks ------------------------------------------------------------------

std::int32_t ycArchive::writeNewMark(std::int32_t number)
{
    return seekable(__LINE__).writeMark(number);
}

std::int32_t ycArchive::renumberMark(std::int32_t number)
{
    return seekable(__LINE__).renumberMark(number);
}

void ycArchive::removeMark()
{
    seekable(__LINE__).removeMark();
}

void ycArchive::readMark(std::int32_t& number)
{
    yc_ArchiveSeekable& layer = seekable(__LINE__);
    ymAssert(isLoading());
    if (isLoading()) number = layer.readMark();
}

ycArchive::pos ycArchive::findMark(std::int32_t number)
{
    return seekable(__LINE__).findMark(number);
}

void ycArchive::skipMark()
{
    seekable(__LINE__).skipMark();
}

std::int32_t ycArchive::firstMarkNum()
{
    return seekable(__LINE__).firstMark();
}

std::int32_t ycArchive::lastMarkNum()
{
    return seekable(__LINE__).lastMark();
}

std::int32_t ycArchive::nextMarkNum(std::int32_t number)
{
    return seekable(__LINE__).nextMark(number);
}

std::int32_t ycArchive::prevMarkNum(std::int32_t number)
{
    return seekable(__LINE__).prevMark(number);
}

void ycArchive::setStartingNum(std::int32_t number)
{
    seekable(__LINE__).startMarksAt(number);
}

// --- objects ----------------------------------------------------------------

std::int32_t ycArchive::storeObject(ycPersistent* object)
{
    seekable(__LINE__);
    ymAssert(isStoring());
    ymAssert(object != nullptr);
    if (!isStoring() || object == nullptr) return 0;
    if (version_ == 0) throw CannotWriteToOldArchive(kSourceName, __LINE__);
    return objects().storeObject(*object);
}

ycArchive::Tracer::~Tracer() = default;

std::unique_ptr<ycPersistent> ycArchive::readTraced(Tracer& tracer)
{
    yc_ArchiveObjects& table = objects();
    table.trace(&tracer);
    try {
        std::unique_ptr<ycPersistent> object = table.readRecord();
        table.trace(nullptr);
        return object;
    } catch (...) {
        table.trace(nullptr);
        throw;
    }
}

std::unique_ptr<ycPersistent> ycArchive::loadObject()
{
    seekable(__LINE__);
    ymAssert(isLoading());
    if (!isLoading()) return nullptr;
    return objects().loadStored();
}

ycArchive::pos ycArchive::findObject(std::int32_t id)
{
    yc_ArchiveSeekable& layer = seekable(__LINE__);
    ymAssert(isLoading());
    ymAssert(yf_ValidArchiveNumber(id));
    if (!isLoading()) return -1;
    return layer.findObject(id);
}

std::int32_t ycArchive::firstObjectID()
{
    yc_ArchiveSeekable& layer = seekable(__LINE__);
    ymAssert(isLoading());
    return layer.firstObject();
}

std::int32_t ycArchive::nextObjectID(std::int32_t id)
{
    yc_ArchiveSeekable& layer = seekable(__LINE__);
    ymAssert(isLoading());
    return layer.nextObject(id);
}

void ycArchive::readObjectHeader(std::int32_t& id, std::uint32_t& size, pos& position)
{
    seekable(__LINE__);
    ymAssert(isLoading());
    if (!isLoading()) return;
    yc_ArchiveObjects::Header head = objects().peekHeader();
    if (head.large) throw BadType(kSourceName, __LINE__); // only the 64-bit form holds it
    id = head.id;
    size = static_cast<std::uint32_t>(head.size);
    position = head.position;
}

void ycArchive::readObjectHeader64(std::int32_t& id, std::uint64_t& size, pos& position)
{
    seekable(__LINE__);
    ymAssert(isLoading());
    if (!isLoading()) return;
    yc_ArchiveObjects::Header head = objects().peekHeader();
    id = head.id;
    size = head.size;
    position = head.position;
}

std::string ycArchive::objectTypeName()
{
    seekable(__LINE__);
    ymAssert(isLoading());
    if (!isLoading()) return {};
    return objects().peekTypeName();
}

void ycArchive::removeObject()
{
    std::int32_t id = seekable(__LINE__).removeObject();
    if (id != 0) objects().forgetId(id);
}

void ycArchive::setStartingID(std::int32_t id)
{
    seekable(__LINE__).startObjectsAt(id);
}

// --- pointers ---------------------------------------------------------------

ycArchive::pos ycArchive::firstPointerPos()
{
    return seekable(__LINE__).firstPointer();
}

ycArchive::pos ycArchive::nextPointerPos()
{
    return seekable(__LINE__).nextPointer();
}

std::int32_t ycArchive::pointerObjectID()
{
    return seekable(__LINE__).pointerId();
}

void ycArchive::pointerObjectID(std::int32_t id)
{
    seekable(__LINE__).pointerId(id);
}

void ycArchive::removePointer()
{
    seekable(__LINE__).removePointer();
}
