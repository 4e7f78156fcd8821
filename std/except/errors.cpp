// The error table of the error model: the stand-alone exceptions, ycDevEnv,
// and the groups of owners this library does not build (unbuilt.h).
#include "std/except/devenv.h"
#include "std/except/error_table.h"
#include "std/except/unbuilt.h"

#define EXCEPT_ERROR_CLASSES(X)            \
    X(ycInvariantFailure, 0x10000001)      \
    X(yc_ParseError, 0x10000002)           \
    X(ycAssertFailure, 0x10000003)         \
    X(ycUnknownError, 0x10000004)          \
    X(ycBadPointer, 0x10000008)            \
    X(ycSysTimeBadArgument, 0x10000009)    \
    X(ycUnsupportedHW, 0x1000000a)         \
    X(ycBadUnicodeChar, 0x1000000b)        \
    X(ycDevEnv::UserCancelled, 0x10001000)

#define EXCEPT_ERROR_GROUPS(X)  \
    X(ycDevEnv::Errors)

#define UNBUILT_ERROR_CLASSES(X)                                        \
    X(yc_ProjectionMethod::ClippedProjection, 0x10000900)               \
    X(yc_ProjectionMethod::ZeroSubsamplingFactor, 0x10000901)           \
    X(yc_ProjectionMethod::BadProjectionRegion, 0x10000902)             \
    X(ycDepthImageDefs::BadParams, 0x1000b800)                          \
    X(ycDepthImageDefs::NotInitialized, 0x1000b801)                     \
    X(ycVDBRecordBase::NoResult, 0x10000b00)                            \
    X(yc2XformDeformDefs::BadParams, 0x10003e00)                        \
    X(ycStatistics::NoSamples, 0x10000f40)                              \
    X(ycHistoStats::Overflow, 0x1000b500)                               \
    X(ycRobustFitDefs::BadParams, 0x10000f41)                           \
    X(ycAdaptiveRANSACDefs::BadParams, 0x10000f43)                      \
    X(ycAdaptiveRANSACDefs::FailedToFitModel, 0x10000f44)               \
    X(ycAdaptiveRANSACDefs::InsufficientDataPoints, 0x10000f45)         \
    X(ycNMMatrix::sizeErr, 0x00000001)                                  \
    X(ycNMMatrix::unstableErr, 0x00000002)                              \
    X(yc2DMap::notValid, 0x10005810)                                    \
    X(yc2DLinearMap::notValidFit, 0x10005820)                           \
    X(ycAffineSamplingParams::BadNumSamples, 0x10002320)                \
    X(ycAffineSamplingParams::NotImplemented, 0x10002321)               \
    X(ycAffTransDefs::UnboundWindow, 0x10002324)                        \
    X(ycAffTransDefs::Clipped, 0x10002325)                              \
    X(ycSampledImageWarpDefs::BadParams, 0x10002390)                    \
    X(ycAffProjImgDefs::UnboundWindow, 0x10003300)                      \
    X(ycAffProjImgDefs::Clipped, 0x10003301)                            \
    X(ycAffProjImgDefs::BadWeightImage, 0x10003302)                     \
    X(ycAffProjImgDefs::NotImplemented, 0x10003303)                     \
    X(ycImageWarpDefs::BadParams, 0x16030001)                           \
    X(ycImageWarpDefs::BadImage, 0x16030002)                            \
    X(ycImageWarpDefs::BadWindow, 0x16030003)                           \
    X(ycImageWarpDefs::NotTrained, 0x16030004)                          \
    X(ycImageWarp1DDefs::BadParams, 0x16030040)                         \
    X(ycImageWarp1DDefs::BadImage, 0x16030042)                          \
    X(ycImageWarp1DDefs::BadWindow, 0x16030043)                         \
    X(ycImageWarp1DDefs::NotTrained, 0x16030044)                        \
    X(ycImageWarp1DDefs::InappropriateXform, 0x16030045)                \
    X(ycLSPointToLineFitter::UnstableErr, 0x10003610)                   \
    X(ycLSPointToLineFitter::BadArgErr, 0x10003611)                     \
    X(ycLSCircleFitter::UnstableErr, 0x10003620)                        \
    X(ycLSLineFitter::UnstableErr, 0x10003630)                          \
    X(ycCircleFitDefs::BadParams, 0x10003640)                           \
    X(ycLineFitDefs::BadParams, 0x10003650)                             \
    X(ycEllipseFitDefs::BadParams, 0x10003660)                          \
    X(ycPointFitDefs::BadParams, 0x10003670)                            \
    X(ycPointFitDefs::NotImplemented, 0x10003671)                       \
    X(ycLSGeneralFitter::unstableErr, 0x00000021)                       \
    X(ycLSGeneralFitter::badArgErr, 0x00000022)                         \
    X(yc2XformCalib2Defs::BadParams, 0x10003930)                        \
    X(yc2XformCalib2Defs::MapsToInfinity, 0x10003931)                   \
    X(yc2XformCalib2Defs::NumericalError, 0x10003932)                   \
    X(yc2XformCalib2Defs::InsufficientPoints, 0x10003933)               \
    X(yc2XformCalib2Defs::NotImplemented, 0x10003934)                   \
    X(ycCalibCorrespondenceDefs::NegativeWeight, 0x1000ac00)            \
    X(ycLineScanDistortionCorrectionDefs::BadParams, 0x1000b410)        \
    X(ycLineScanDistortionCorrectionDefs::BadImage, 0x1000b411)         \
    X(ycLineScanDistortionCorrectionDefs::NotTrained, 0x1000b412)       \
    X(ycLineScanDistortionCorrectionDefs::MismatchedRanges, 0x1000b413) \
    X(ycDictionary::BadParams, 0x1000000c)                              \
    X(ycStringLiteral::BadParams, 0x1000000d)                           \
    X(ycCharCodeDefs::NotRepresentable, 0x1000c900)                     \
    X(ycFileSystemSelect::UnsupportedFileSystem, 0x10004e00)            \
    X(ycProgressDefs::BadParams, 0x1000b300)                            \
    X(yc_PriorityQueueDefs::EmptyQueue, 0x10007200)                     \
    X(yc_PriorityQueueDefs::BadHandle, 0x10007201)                      \
    X(ycRLEBuffer::Degenerate, 0x10001800)                              \
    X(yc_Resource::Timeout, 0x10002100)                                 \
    X(yc_Resource::NamedObjectExists, 0x10002102)                       \
    X(yc_Resource::NameConflict, 0x10002104)                            \
    X(yc_Resource::CreateFailed, 0x10002105)                            \
    X(yc_Resource::BrokenLock, 0x00000000)                              \
    X(ycThreadID::CouldNotRegister, 0x10002101)                         \
    X(ycThreadID::CreateFailed, 0x10002103)                             \
    X(ycTimeout::Expired, 0x10001500)                                   \
    X(ycTimeout::InternalExpired, 0x10001501)                           \
    X(ycTimeout::Cancel, 0x10001502)                                    \
    X(ycWorkerThreadManagerDefs::BadParams, 0x1000ac00)                 \
    X(ycBoard::BadParams, 0x10002c00)                                   \
    X(ycBoard::StaticInitDisorder, 0x10002c01)                          \
    X(ycBoard::NotSupported, 0x10002c02)                                \
    X(ycBoard::HardwareNotResponding, 0x10002c03)                       \
    X(ycBoard::Timeout, 0x10002c04)                                     \
    X(ycBoard::HardwareInUse, 0x10002c08)                               \
    X(ycBoard::HardwareNotInitialized, 0x10002c09)                      \
    X(ycBoard::FpgaLoadFailure, 0x10002c0b)                             \
    X(ycBoard::BadEERAMContents, 0x10002c0c)                            \
    X(ycBoard::MultiProcessAccessFailed, 0x10002c0d)                    \
    X(ycAccelerator::BadFile, 0x10002c05)                               \
    X(ycAccelerator::BootFailure, 0x10002c06)                           \
    X(ycAccelerator::ConnectionBroken, 0x10002c0a)                      \
    X(ycParallelIO::BadParams, 0x10003a00)                              \
    X(ycParallelIO::CannotEnable, 0x10003a01)                           \
    X(ycParallelIO::NotEnabled, 0x10003a03)                             \
    X(ycParallelIO::NotImplemented, 0x10003a04)                         \
    X(ycParallelIO::Unspecified, 0x10003a05)                            \
    X(ycSerialIO::BadParams, 0x10004d00)                                \
    X(ycSerialIO::NotSupported, 0x10004d01)                             \
    X(ycSerialIO::CannotInit, 0x10004d06)                               \
    X(ycSerialIO::ReadFail, 0x10004d07)                                 \
    X(ycSerialIO::WriteFail, 0x10004d08)                                \
    X(ycPointingDevice::NoDevice, 0x10004d03)                           \
    X(ycPointingDevice::NotDetected, 0x10004d04)                        \
    X(ycPointingDevice::UnSupported, 0x10004d05)                        \
    X(ycDIB::BadFormat, 0x10001401)                                     \
    X(ycDIB::ReadError, 0x10001402)                                     \
    X(ycDIB::WriteError, 0x10001403)                                    \
    X(ycDIB::NoDibData, 0x10001404)                                     \
    X(ycTcpip::AccessFailed, 0x10006701)                                \
    X(ycTcpip::ConnectionBroken, 0x10006702)                            \
    X(ycTcpip::Timeout, 0x10006703)                                     \
    X(ycTcpip::NotSupported, 0x10006704)                                \
    X(ycUdpip::AccessFailed, 0x10006711)                                \
    X(ycUdpip::BufferNotEmpty, 0x10006712)                              \
    X(ycUdpip::ConnectionBroken, 0x10006713)                            \
    X(ycUdpip::InvalidParameter, 0x10006714)                            \
    X(ycUdpip::Timeout, 0x10006715)                                     \
    X(ycUdpip::NotSupported, 0x10006716)                                \
    X(ycRPC::ObjectMismatch, 0x10003400)                                \
    X(ycRPC::UnknownCommunicator, 0x10003402)                           \
    X(ycRPC::UnsupportedFunction, 0x10003403)                           \
    X(ycRPC::CouldNotStartService, 0x10003405)                          \
    X(ycRPC::NestedRPC, 0x10003406)                                     \
    X(ycRPCHandler::DuplicateHandler, 0x10003404)                       \
    X(ycShapesError::DegenerateShape, 0x10002a00)                       \
    X(ycShapesError::LinesParallel, 0x10002a01)                         \
    X(ycShapesError::BadRadius, 0x10002a02)                             \
    X(ycShapesError::NotConcentric, 0x10002a03)                         \
    X(ycShapesError::BadCoef, 0x10002a04)                               \
    X(ycShapesError::BadGeom, 0x10002a05)                               \
    X(ycShapesError::BadUnit, 0x10002a06)                               \
    X(ycShapesError::BadIndex, 0x10002a10)                              \
    X(ycShapesError::BadParams, 0x10002a11)                             \
    X(ycShapesError::InfiniteExtent, 0x10002a20)                        \
    X(ycShapesError::NotOpenContour, 0x10002a21)                        \
    X(ycShapesError::NotRegion, 0x10002a22)                             \
    X(ycShapesError::SampleOverflow, 0x10002a23)                        \
    X(ycShapesError::NoTangent, 0x10002a24)                             \
    X(ycShapesError::EmptyShape, 0x10002a25)                            \
    X(ycShapesError::NotReversible, 0x10002a26)                         \
    X(ycShapesError::NonpositiveWeight, 0x10002a30)                     \
    X(ycShapesError::CoincidentShapePoints, 0x10002a31)                 \
    X(ycShapesError::NotImplemented, 0x10002aff)                        \
    X(ycAffineRectangle::BadLength, 0x10002a07)                         \
    X(ycAffineRectangle::BadSkew, 0x10002a08)

#define UNBUILT_ERROR_GROUPS(X)                   \
    X(yc_ProjectionMethod::Errors)                \
    X(ycDepthImageDefs::Errors)                   \
    X(ycVDBRecordBase::Errors)                    \
    X(yc2XformDeformDefs::Errors)                 \
    X(ycStatistics::Errors)                       \
    X(ycHistoStats::Errors)                       \
    X(ycRobustFitDefs::Errors)                    \
    X(ycAdaptiveRANSACDefs::Errors)               \
    X(ycNMMatrix::Errors)                         \
    X(yc2DMap::Errors)                            \
    X(yc2DLinearMap::Errors)                      \
    X(ycAffineSamplingParams::Errors)             \
    X(ycAffTransDefs::Errors)                     \
    X(ycSampledImageWarpDefs::Errors)             \
    X(ycAffProjImgDefs::Errors)                   \
    X(ycImageWarpDefs::Errors)                    \
    X(ycImageWarp1DDefs::Errors)                  \
    X(ycLSPointToLineFitter::Errors)              \
    X(ycLSCircleFitter::Errors)                   \
    X(ycLSLineFitter::Errors)                     \
    X(ycCircleFitDefs::Errors)                    \
    X(ycLineFitDefs::Errors)                      \
    X(ycEllipseFitDefs::Errors)                   \
    X(ycPointFitDefs::Errors)                     \
    X(ycLSGeneralFitter::Errors)                  \
    X(yc2XformCalib2Defs::Errors)                 \
    X(ycCalibCorrespondenceDefs::Errors)          \
    X(ycLineScanDistortionCorrectionDefs::Errors) \
    X(ycDictionary::Errors)                       \
    X(ycStringLiteral::Errors)                    \
    X(ycCharCodeDefs::Errors)                     \
    X(ycFileSystemSelect::Errors)                 \
    X(ycProgressDefs::Errors)                     \
    X(yc_PriorityQueueDefs::Errors)               \
    X(ycRLEBuffer::Errors)                        \
    X(yc_Resource::Errors)                        \
    X(ycThreadID::Errors)                         \
    X(ycWorkerThreadManagerDefs::Errors)          \
    X(ycBoard::Errors)                            \
    X(ycAccelerator::Errors)                      \
    X(ycParallelIO::Errors)                       \
    X(ycSerialIO::Errors)                         \
    X(ycPointingDevice::Errors)                   \
    X(ycDIB::Errors)                              \
    X(ycTcpip::Errors)                            \
    X(ycUdpip::Errors)                            \
    X(ycRPC::Errors)                              \
    X(ycShapesError::Errors)                      \
    X(ycAffineRectangle::Errors)

EXCEPT_ERROR_CLASSES(ymDefineError)
EXCEPT_ERROR_GROUPS(ymDefineErrorLevel)
UNBUILT_ERROR_CLASSES(ymDefineError)
UNBUILT_ERROR_GROUPS(ymDefineErrorLevel)

// RuntimeError reports the number it was given.
ymDefineErrorLevel(ycRPC::RuntimeError)
ymDefineErrorRethrow(ycRPC::RuntimeError)

void yf_RegisterExceptClasses(yc_TypeRegistry& registry)
{
    EXCEPT_ERROR_CLASSES(ymRegisterError)
    UNBUILT_ERROR_CLASSES(ymRegisterError)
    registry.add<ycRPC::RuntimeError>("ycRPC::RuntimeError");
}
