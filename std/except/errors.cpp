// The error table: every exception class of the library with its number, its
// persistence and its registration. The numbers are part of the interface and
// never change.
#include "std/archive/archive.h"
#include "std/archive/registry.h"
#include "std/calib/calib.h"
#include "std/cfit/fitters.h"
#include "std/devices/board.h"
#include "std/devices/dib.h"
#include "std/devices/io.h"
#include "std/math/lsfit.h"
#include "std/math/map2d.h"
#include "std/math/matherror.h"
#include "std/math/nmmatrix.h"
#include "std/math/polyroot.h"
#include "std/math/range.h"
#include "std/math/robustfit.h"
#include "std/math/statistics.h"
#include "std/math/warp.h"
#include "std/math/xfbase.h"
#include "std/math/xfdeform.h"
#include "std/math/xfpersp.h"
#include "std/math/xfpoly.h"
#include "std/pelbuf/acqimage.h"
#include "std/pelbuf/colorspace.h"
#include "std/pelbuf/depthimage.h"
#include "std/pelbuf/pbuf_com.h"
#include "std/pelbuf/pelfunc.h"
#include "std/pelbuf/pelrect.h"
#include "std/pelbuf/pool.h"
#include "std/pelbuf/projection.h"
#include "std/rlebuf/rlebuf.h"
#include "std/rpc/remote.h"
#include "std/rpc/rpc.h"
#include "std/shapes/affrect.h"
#include "std/shapes/shapes.h"
#include "std/transport/ip.h"
#include "std/util/charcode.h"
#include "std/util/devenv.h"
#include "std/util/dictionary.h"
#include "std/util/filesys.h"
#include "std/util/priority_queue.h"
#include "std/util/progress.h"
#include "std/vdb/vdb.h"
#include "std/workmgr/resource.h"
#include "std/workmgr/workmgr.h"
// Concrete classes and their numbers.
#define TLVSTD_ERROR_CLASSES(X)                           \
    X(ycInvariantFailure, 0x10000001)                     \
    X(yc_ParseError, 0x10000002)                          \
    X(ycAssertFailure, 0x10000003)                        \
    X(ycUnknownError, 0x10000004)                         \
    X(ycBadPointer, 0x10000008)                           \
    X(ycSysTimeBadArgument, 0x10000009)                   \
    X(ycUnsupportedHW, 0x1000000a)                        \
    X(ycBadUnicodeChar, 0x1000000b)                       \
    X(ycArchive::Eof, 0x10000100)                         \
    X(ycArchive::BadBuffer, 0x10000101)                   \
    X(ycArchive::BadType, 0x10000102)                     \
    X(ycArchive::BadContent, 0x10000103)                  \
    X(ycArchive::NotFound, 0x10000104)                    \
    X(ycArchive::Duplicate, 0x10000105)                   \
    X(ycArchive::UnknownType, 0x10000106)                 \
    X(ycArchive::UnknownVersion, 0x10000107)              \
    X(ycArchive::BadFile, 0x10000109)                     \
    X(ycArchive::UnknownArchiveVersion, 0x1000010a)       \
    X(ycArchive::CannotWriteToOldArchive, 0x1000010b)     \
    X(ycArchive::NotSeekable, 0x1000010c)                 \
    X(ycPel::UnboundWindow, 0x10000400) \
    X(ycPel::BadWindow, 0x10000402) \
    X(ycPel::DisjointWindows, 0x10000403) \
    X(ycPel::BadCoord, 0x10000405) \
    X(ycPel::Unknown, 0x10000406) \
    X(ycPel::NonlinearXform, 0x10000409) \
    X(ycPelbufHelper1::ycPelbufTrigger, 0x10000007) \
    X(ycRectErrors::NoOverlap, 0x10000407) \
    X(ycRectErrors::NegativeSize, 0x10000408) \
    X(ycColorSpaceDefs::BadColorSpace, 0x1000040a) \
    X(ycPelFunc::Range, 0x10000500) \
    X(ycPelFunc::Overlap, 0x10000501) \
    X(ycPelFunc::BadParams, 0x10000502) \
    X(yc_ProjectionMethod::ClippedProjection, 0x10000900) \
    X(yc_ProjectionMethod::ZeroSubsamplingFactor, 0x10000901) \
    X(yc_ProjectionMethod::BadProjectionRegion, 0x10000902) \
    X(ycPelRootPool::NotSupported, 0x1000098c) \
    X(ycPelRootPool::Outstanding, 0x1000098d) \
    X(ycAcqImage::NotSupported, 0x100009d0) \
    X(ycDepthImageDefs::BadParams, 0x1000b800) \
    X(ycDepthImageDefs::NotInitialized, 0x1000b801) \
    X(ycVDBRecordBase::NoResult, 0x10000b00) \
    X(ycMathError::Singular, 0x10000f00) \
    X(ycMathError::NullVector, 0x10000f01) \
    X(ycMathError::DivisionByZero, 0x10000f02) \
    X(ycRangeDefs::BadParams, 0x10000f20) \
    X(ycRangeDefs::NotPartialRange, 0x10000f21) \
    X(yc2XformDefs::NotImplemented, 0x10000f30) \
    X(yc2XformPoly::BadParams, 0x10000f38) \
    X(yc2XformPoly::IllDefined, 0x10000f39) \
    X(yc2XformPerspectiveDefs::BadParams, 0x10003930) \
    X(yc2XformPerspectiveDefs::NumericalError, 0x10003932) \
    X(yc2XformDeformDefs::BadParams, 0x10003e00) \
    X(ycStatistics::NoSamples, 0x10000f40) \
    X(ycHistoStats::Overflow, 0x1000b500) \
    X(ycRobustFitDefs::BadParams, 0x10000f41) \
    X(ycAdaptiveRANSACDefs::BadParams, 0x10000f43) \
    X(ycAdaptiveRANSACDefs::FailedToFitModel, 0x10000f44) \
    X(ycAdaptiveRANSACDefs::InsufficientDataPoints, 0x10000f45) \
    X(ycLSPointToPointFitter::UnstableErr, 0x10003600) \
    X(ycLSPointToPointFitter::BadArgErr, 0x10003601) \
    X(ycNMMatrix::sizeErr, 0x00000001) \
    X(ycNMMatrix::unstableErr, 0x00000002) \
    X(ycPolynomialRootFinder::BadParams, 0x10006000) \
    X(yc2DMap::notValid, 0x10005810) \
    X(yc2DLinearMap::notValidFit, 0x10005820) \
    X(ycAffineSamplingParams::BadNumSamples, 0x10002320) \
    X(ycAffineSamplingParams::NotImplemented, 0x10002321) \
    X(ycAffTransDefs::UnboundWindow, 0x10002324) \
    X(ycAffTransDefs::Clipped, 0x10002325) \
    X(ycSampledImageWarpDefs::BadParams, 0x10002390) \
    X(ycAffProjImgDefs::UnboundWindow, 0x10003300) \
    X(ycAffProjImgDefs::Clipped, 0x10003301) \
    X(ycAffProjImgDefs::BadWeightImage, 0x10003302) \
    X(ycAffProjImgDefs::NotImplemented, 0x10003303) \
    X(ycImageWarpDefs::BadParams, 0x16030001) \
    X(ycImageWarpDefs::BadImage, 0x16030002) \
    X(ycImageWarpDefs::BadWindow, 0x16030003) \
    X(ycImageWarpDefs::NotTrained, 0x16030004) \
    X(ycImageWarp1DDefs::BadParams, 0x16030040) \
    X(ycImageWarp1DDefs::BadImage, 0x16030042) \
    X(ycImageWarp1DDefs::BadWindow, 0x16030043) \
    X(ycImageWarp1DDefs::NotTrained, 0x16030044) \
    X(ycImageWarp1DDefs::InappropriateXform, 0x16030045) \
    X(ycLSPointToLineFitter::UnstableErr, 0x10003610) \
    X(ycLSPointToLineFitter::BadArgErr, 0x10003611) \
    X(ycLSCircleFitter::UnstableErr, 0x10003620) \
    X(ycLSLineFitter::UnstableErr, 0x10003630) \
    X(ycCircleFitDefs::BadParams, 0x10003640) \
    X(ycLineFitDefs::BadParams, 0x10003650) \
    X(ycEllipseFitDefs::BadParams, 0x10003660) \
    X(ycPointFitDefs::BadParams, 0x10003670) \
    X(ycPointFitDefs::NotImplemented, 0x10003671) \
    X(ycLSGeneralFitter::unstableErr, 0x00000021) \
    X(ycLSGeneralFitter::badArgErr, 0x00000022) \
    X(yc2XformCalib2Defs::BadParams, 0x10003930) \
    X(yc2XformCalib2Defs::MapsToInfinity, 0x10003931) \
    X(yc2XformCalib2Defs::NumericalError, 0x10003932) \
    X(yc2XformCalib2Defs::InsufficientPoints, 0x10003933) \
    X(yc2XformCalib2Defs::NotImplemented, 0x10003934) \
    X(ycCalibCorrespondenceDefs::NegativeWeight, 0x1000ac00) \
    X(ycLineScanDistortionCorrectionDefs::BadParams, 0x1000b410) \
    X(ycLineScanDistortionCorrectionDefs::BadImage, 0x1000b411) \
    X(ycLineScanDistortionCorrectionDefs::NotTrained, 0x1000b412) \
    X(ycLineScanDistortionCorrectionDefs::MismatchedRanges, 0x1000b413) \
    X(ycDevEnv::UserCancelled, 0x10001000) \
    X(ycDictionary::BadParams, 0x1000000c) \
    X(ycStringLiteral::BadParams, 0x1000000d) \
    X(ycCharCodeDefs::NotRepresentable, 0x1000c900) \
    X(ycFileSystemSelect::UnsupportedFileSystem, 0x10004e00) \
    X(ycProgressDefs::BadParams, 0x1000b300) \
    X(yc_PriorityQueueDefs::EmptyQueue, 0x10007200) \
    X(yc_PriorityQueueDefs::BadHandle, 0x10007201) \
    X(ycRLEBuffer::Degenerate, 0x10001800) \
    X(yc_Resource::Timeout, 0x10002100) \
    X(yc_Resource::NamedObjectExists, 0x10002102) \
    X(yc_Resource::NameConflict, 0x10002104) \
    X(yc_Resource::CreateFailed, 0x10002105) \
    X(yc_Resource::BrokenLock, 0x00000000) \
    X(ycThreadID::CouldNotRegister, 0x10002101) \
    X(ycThreadID::CreateFailed, 0x10002103) \
    X(ycTimeout::Expired, 0x10001500) \
    X(ycTimeout::InternalExpired, 0x10001501) \
    X(ycTimeout::Cancel, 0x10001502) \
    X(ycWorkerThreadManagerDefs::BadParams, 0x1000ac00) \
    X(ycBoard::BadParams, 0x10002c00) \
    X(ycBoard::StaticInitDisorder, 0x10002c01) \
    X(ycBoard::NotSupported, 0x10002c02) \
    X(ycBoard::HardwareNotResponding, 0x10002c03) \
    X(ycBoard::Timeout, 0x10002c04) \
    X(ycBoard::HardwareInUse, 0x10002c08) \
    X(ycBoard::HardwareNotInitialized, 0x10002c09) \
    X(ycBoard::FpgaLoadFailure, 0x10002c0b) \
    X(ycBoard::BadEERAMContents, 0x10002c0c) \
    X(ycBoard::MultiProcessAccessFailed, 0x10002c0d) \
    X(ycAccelerator::BadFile, 0x10002c05) \
    X(ycAccelerator::BootFailure, 0x10002c06) \
    X(ycAccelerator::ConnectionBroken, 0x10002c0a) \
    X(ycParallelIO::BadParams, 0x10003a00) \
    X(ycParallelIO::CannotEnable, 0x10003a01) \
    X(ycParallelIO::NotEnabled, 0x10003a03) \
    X(ycParallelIO::NotImplemented, 0x10003a04) \
    X(ycParallelIO::Unspecified, 0x10003a05) \
    X(ycSerialIO::BadParams, 0x10004d00) \
    X(ycSerialIO::NotSupported, 0x10004d01) \
    X(ycSerialIO::CannotInit, 0x10004d06) \
    X(ycSerialIO::ReadFail, 0x10004d07) \
    X(ycSerialIO::WriteFail, 0x10004d08) \
    X(ycPointingDevice::NoDevice, 0x10004d03) \
    X(ycPointingDevice::NotDetected, 0x10004d04) \
    X(ycPointingDevice::UnSupported, 0x10004d05) \
    X(ycDIB::BadFormat, 0x10001401) \
    X(ycDIB::ReadError, 0x10001402) \
    X(ycDIB::WriteError, 0x10001403) \
    X(ycDIB::NoDibData, 0x10001404) \
    X(ycTcpip::AccessFailed, 0x10006701) \
    X(ycTcpip::ConnectionBroken, 0x10006702) \
    X(ycTcpip::Timeout, 0x10006703) \
    X(ycTcpip::NotSupported, 0x10006704) \
    X(ycUdpip::AccessFailed, 0x10006711) \
    X(ycUdpip::BufferNotEmpty, 0x10006712) \
    X(ycUdpip::ConnectionBroken, 0x10006713) \
    X(ycUdpip::InvalidParameter, 0x10006714) \
    X(ycUdpip::Timeout, 0x10006715) \
    X(ycUdpip::NotSupported, 0x10006716) \
    X(ycRPC::ObjectMismatch, 0x10003400) \
    X(ycRPC::UnknownCommunicator, 0x10003402) \
    X(ycRPC::UnsupportedFunction, 0x10003403) \
    X(ycRPC::CouldNotStartService, 0x10003405) \
    X(ycRPC::NestedRPC, 0x10003406) \
    X(ycRPCHandler::DuplicateHandler, 0x10003404) \
    X(ycRemoteObject::ObjectMismatch, 0x10002600) \
    X(yc_FastImageTransfer::TransferFailed, 0x10003502) \
    X(ycShapesError::DegenerateShape, 0x10002a00) \
    X(ycShapesError::LinesParallel, 0x10002a01) \
    X(ycShapesError::BadRadius, 0x10002a02) \
    X(ycShapesError::NotConcentric, 0x10002a03) \
    X(ycShapesError::BadCoef, 0x10002a04) \
    X(ycShapesError::BadGeom, 0x10002a05) \
    X(ycShapesError::BadUnit, 0x10002a06) \
    X(ycShapesError::BadIndex, 0x10002a10) \
    X(ycShapesError::BadParams, 0x10002a11) \
    X(ycShapesError::InfiniteExtent, 0x10002a20) \
    X(ycShapesError::NotOpenContour, 0x10002a21) \
    X(ycShapesError::NotRegion, 0x10002a22) \
    X(ycShapesError::SampleOverflow, 0x10002a23) \
    X(ycShapesError::NoTangent, 0x10002a24) \
    X(ycShapesError::EmptyShape, 0x10002a25) \
    X(ycShapesError::NotReversible, 0x10002a26) \
    X(ycShapesError::NonpositiveWeight, 0x10002a30) \
    X(ycShapesError::CoincidentShapePoints, 0x10002a31) \
    X(ycShapesError::NotImplemented, 0x10002aff) \
    X(ycAffineRectangle::BadLength, 0x10002a07) \
    X(ycAffineRectangle::BadSkew, 0x10002a08)

// Group bases: a version byte and no fields.
#define TLVSTD_ERROR_GROUPS(X) \
    X(ycPel::Errors) \
    X(ycRectErrors::Errors) \
    X(ycColorSpaceDefs::Errors) \
    X(ycPelFunc::Errors) \
    X(yc_ProjectionMethod::Errors) \
    X(ycPelRootPool::Errors) \
    X(ycAcqImage::Errors) \
    X(ycDepthImageDefs::Errors) \
    X(ycVDBRecordBase::Errors) \
    X(ycMathError::Errors) \
    X(ycRangeDefs::Errors) \
    X(yc2XformDefs::Errors) \
    X(yc2XformPerspectiveDefs::Errors) \
    X(yc2XformDeformDefs::Errors) \
    X(ycStatistics::Errors) \
    X(ycHistoStats::Errors) \
    X(ycRobustFitDefs::Errors) \
    X(ycAdaptiveRANSACDefs::Errors) \
    X(ycLSPointToPointFitter::Errors) \
    X(ycNMMatrix::Errors) \
    X(ycPolynomialRootFinder::Errors) \
    X(yc2DMap::Errors) \
    X(yc2DLinearMap::Errors) \
    X(ycAffineSamplingParams::Errors) \
    X(ycAffTransDefs::Errors) \
    X(ycSampledImageWarpDefs::Errors) \
    X(ycAffProjImgDefs::Errors) \
    X(ycImageWarpDefs::Errors) \
    X(ycImageWarp1DDefs::Errors) \
    X(ycLSPointToLineFitter::Errors) \
    X(ycLSCircleFitter::Errors) \
    X(ycLSLineFitter::Errors) \
    X(ycCircleFitDefs::Errors) \
    X(ycLineFitDefs::Errors) \
    X(ycEllipseFitDefs::Errors) \
    X(ycPointFitDefs::Errors) \
    X(ycLSGeneralFitter::Errors) \
    X(yc2XformCalib2Defs::Errors) \
    X(ycCalibCorrespondenceDefs::Errors) \
    X(ycLineScanDistortionCorrectionDefs::Errors) \
    X(ycDevEnv::Errors) \
    X(ycDictionary::Errors) \
    X(ycStringLiteral::Errors) \
    X(ycCharCodeDefs::Errors) \
    X(ycFileSystemSelect::Errors) \
    X(ycProgressDefs::Errors) \
    X(yc_PriorityQueueDefs::Errors) \
    X(ycRLEBuffer::Errors) \
    X(yc_Resource::Errors) \
    X(ycThreadID::Errors) \
    X(ycWorkerThreadManagerDefs::Errors) \
    X(ycBoard::Errors) \
    X(ycAccelerator::Errors) \
    X(ycParallelIO::Errors) \
    X(ycSerialIO::Errors) \
    X(ycPointingDevice::Errors) \
    X(ycDIB::Errors) \
    X(ycTcpip::Errors) \
    X(ycUdpip::Errors) \
    X(ycRPC::Errors) \
    X(ycRemoteObject::Errors) \
    X(yc_FastImageTransfer::Errors) \
    X(ycShapesError::Errors) \
    X(ycAffineRectangle::Errors)

// Member and group levels carry no fields: a version byte, then the base.
#define TLVSTD_DEFINE_LEVEL(T)                                                         \
    void T::dispatchSerialize(ycArchive& ar)                                           \
    {                                                                                  \
        serializeLevel(ar, this, 0, [&](std::uint8_t version) {                        \
            if (version != 0) unknownVersion(#T, 0);                                   \
            this->T::ycErrorBase::dispatchSerialize(ar);                               \
        });                                                                            \
    }

#define TLVSTD_DEFINE_ERROR(T, number)                                                 \
    TLVSTD_DEFINE_LEVEL(T)                                                             \
    void T::suicideAndRethrow()                                                        \
    {                                                                                  \
        T copy(*this);                                                                 \
        delete this;                                                                   \
        throw copy;                                                                    \
    }                                                                                  \
    std::int32_t T::errorNumber() const { return number; }

#define TLVSTD_GROUP_LEVEL(G) TLVSTD_DEFINE_LEVEL(G)

TLVSTD_ERROR_CLASSES(TLVSTD_DEFINE_ERROR)
TLVSTD_ERROR_GROUPS(TLVSTD_GROUP_LEVEL)

// RuntimeError reports the number it was given.
TLVSTD_DEFINE_LEVEL(ycRPC::RuntimeError)
void ycRPC::RuntimeError::suicideAndRethrow()
{
    RuntimeError copy(*this);
    delete this;
    throw copy;
}

void yf_RegisterErrorClasses(yc_TypeRegistry& registry)
{
#define TLVSTD_REGISTER(T, number) registry.add<T>(#T);
    TLVSTD_ERROR_CLASSES(TLVSTD_REGISTER)
#undef TLVSTD_REGISTER
    registry.add<ycRPC::RuntimeError>("ycRPC::RuntimeError");
}
