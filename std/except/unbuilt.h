// Error groups of classes this library does not build.
//
// Frame-grabber boards, sockets, bitmaps and the other owners below are not
// part of this library, but their failures travel: an archive or a remote
// reply may carry one, and it must load as its own class with its own number.
// Each owner is declared here with its nested group and nothing else. Shapes
// and remote calls keep their groups here until their modules are built;
// then the group moves to the module's folder, under the same name.
#ifndef TLVSTD_EXCEPT_UNBUILT_H
#define TLVSTD_EXCEPT_UNBUILT_H

#include "std/except/except.h"

#include <cstdint>
#include <string>

// --- Calibration ---------------------------------------------------------------

class yc2XformCalib2Defs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(MapsToInfinity, Errors);
    ymError(NumericalError, Errors);
    ymError(InsufficientPoints, Errors);
    ymError(NotImplemented, Errors);
};

class ycCalibCorrespondenceDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(NegativeWeight, Errors);
};

class ycLineScanDistortionCorrectionDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(BadImage, Errors);
    ymError(NotTrained, Errors);
    ymError(MismatchedRanges, Errors);
};

// --- Curve fitting -------------------------------------------------------------

class ycLSPointToLineFitter {
public:
    ymErrorGroup(ycException);
    ymError(UnstableErr, Errors);
    ymError(BadArgErr, Errors);
};

class ycLSCircleFitter {
public:
    ymErrorGroup(ycException);
    ymError(UnstableErr, Errors);
};

class ycLSLineFitter {
public:
    ymErrorGroup(ycException);
    ymError(UnstableErr, Errors);
};

class ycCircleFitDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
};

class ycLineFitDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
};

class ycEllipseFitDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
};

class ycPointFitDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(NotImplemented, Errors);
};

class ycLSGeneralFitter {
public:
    ymErrorGroup(ycException);
    ymError(unstableErr, Errors);
    ymError(badArgErr, Errors);
};

// --- Devices: boards, accelerators, ports, pointing devices, bitmaps -----------

class ycBoard {
public:
    ymErrorGroup(ycException);
    ymError(BadParams, Errors);
    ymError(StaticInitDisorder, Errors);
    ymError(NotSupported, Errors);
    ymError(HardwareNotResponding, Errors);
    ymError(Timeout, Errors);
    ymError(HardwareInUse, Errors);
    ymError(HardwareNotInitialized, Errors);
    ymError(FpgaLoadFailure, Errors);
    ymError(BadEERAMContents, Errors);
    ymError(MultiProcessAccessFailed, Errors);
};

class ycAccelerator {
public:
    ymErrorGroup(ycException);
    ymError(BadFile, Errors);
    ymError(BootFailure, Errors);
    ymError(ConnectionBroken, Errors);
};

class ycParallelIO {
public:
    ymErrorGroup(ycException);
    ymError(BadParams, Errors);
    ymError(CannotEnable, Errors);
    ymError(NotEnabled, Errors);
    ymError(NotImplemented, Errors);
    ymError(Unspecified, Errors);
};

class ycSerialIO {
public:
    ymErrorGroup(ycException);
    ymError(BadParams, Errors);
    ymError(NotSupported, Errors);
    ymError(CannotInit, Errors);
    ymError(ReadFail, Errors);
    ymError(WriteFail, Errors);
};

class ycPointingDevice {
public:
    ymErrorGroup(ycException);
    ymError(NoDevice, Errors);
    ymError(NotDetected, Errors);
    ymError(UnSupported, Errors);
};

class ycDIB {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadFormat, Errors);
    ymError(ReadError, Errors);
    ymError(WriteError, Errors);
    ymError(NoDibData, Errors);
};

// --- Numerics and image warping ------------------------------------------------

class yc2DMap {
public:
    ymErrorGroup(ycException);
    ymError(notValid, Errors);
};

class yc2DLinearMap {
public:
    ymErrorGroup(ycException);
    ymError(notValidFit, Errors);
};

class ycNMMatrix {
public:
    ymErrorGroup(ycException);
    ymError(sizeErr, Errors);
    ymError(unstableErr, Errors);
};

class ycRobustFitDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
};

class ycAdaptiveRANSACDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(FailedToFitModel, Errors);
    ymError(InsufficientDataPoints, Errors);
};

class ycStatistics {
public:
    ymErrorGroup(ycException);
    ymError(NoSamples, Errors);
};

class ycHistoStats {
public:
    ymErrorGroup(ycException);
    ymError(Overflow, Errors);
};

class ycAffineSamplingParams {
public:
    ymErrorGroup(ycException);
    ymError(BadNumSamples, Errors);
    ymError(NotImplemented, Errors);
};

class ycAffTransDefs {
public:
    ymErrorGroup(ycException);
    ymError(UnboundWindow, Errors);
    ymError(Clipped, Errors);
};

class ycSampledImageWarpDefs {
public:
    ymErrorGroup(ycException);
    ymError(BadParams, Errors);
};

class ycAffProjImgDefs {
public:
    ymErrorGroup(ycException);
    ymError(UnboundWindow, Errors);
    ymError(Clipped, Errors);
    ymError(BadWeightImage, Errors);
    ymError(NotImplemented, Errors);
};

class ycImageWarpDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(BadImage, Errors);
    ymError(BadWindow, Errors);
    ymError(NotTrained, Errors);
};

class ycImageWarp1DDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(BadImage, Errors);
    ymError(BadWindow, Errors);
    ymError(NotTrained, Errors);
    ymError(InappropriateXform, Errors);
};

class yc2XformDeformDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
};

// --- Images: depth images, projections, run-length buffers, the vision database ---

class ycDepthImageDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(NotInitialized, Errors);
};

class yc_ProjectionMethod {
public:
    ymErrorGroup(ycException);
    ymError(ClippedProjection, Errors);
    ymError(ZeroSubsamplingFactor, Errors);
    ymError(BadProjectionRegion, Errors);
};

class ycRLEBuffer {
public:
    ymErrorGroup(ycException);
    ymError(Degenerate, Errors);
};

class ycVDBRecordBase {
public:
    ymErrorGroup(ycException);
    ymError(NoResult, Errors);
};

// --- Transport and threads -----------------------------------------------------

class ycTcpip {
public:
    ymErrorGroup(ycException);
    ymError(AccessFailed, Errors);
    ymError(ConnectionBroken, Errors);
    ymError(Timeout, Errors);
    ymError(NotSupported, Errors);
};

class ycUdpip {
public:
    ymErrorGroup(ycException);
    ymError(AccessFailed, Errors);
    ymError(BufferNotEmpty, Errors);
    ymError(ConnectionBroken, Errors);
    ymError(InvalidParameter, Errors);
    ymError(Timeout, Errors);
    ymError(NotSupported, Errors);
};

class yc_Resource {
public:
    ymErrorGroup(ycException);
    ymError(Timeout, Errors);
    ymError(NamedObjectExists, Errors);
    ymError(NameConflict, Errors);
    ymError(CreateFailed, Errors);
    ymError(BrokenLock, Errors);
};

class ycThreadID {
public:
    ymErrorGroup(ycException);
    ymError(CouldNotRegister, Errors);
    ymError(CreateFailed, Errors);
};

class ycTimeout {
public:
    ymError(Expired, ycException);
    ymError(InternalExpired, Expired);
    ymError(Cancel, Expired);
};

class ycWorkerThreadManagerDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
};

// --- Utilities -----------------------------------------------------------------

class ycCharCodeDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(NotRepresentable, Errors);
};

class ycDictionary {
public:
    ymErrorGroup(ycException);
    ymError(BadParams, Errors);
};

class ycStringLiteral {
public:
    ymErrorGroup(ycException);
    ymError(BadParams, Errors);
};

class ycFileSystemSelect {
public:
    ymErrorGroup(ycException);
    ymError(UnsupportedFileSystem, Errors);
};

class yc_PriorityQueueDefs {
public:
    ymErrorGroup(ycException);
    ymError(EmptyQueue, Errors);
    ymError(BadHandle, Errors);
};

class ycProgressDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
};

// --- Shapes (until the shapes module is built) ---------------------------------

class ycShapesError {
public:
    ymErrorGroup(ycException);
    ymError(DegenerateShape, Errors);
    ymError(LinesParallel, Errors);
    ymError(BadRadius, Errors);
    ymError(NotConcentric, Errors);
    ymError(BadCoef, Errors);
    ymError(BadGeom, Errors);
    ymError(BadUnit, Errors);
    ymError(BadIndex, Errors);
    ymError(BadParams, Errors);
    ymError(InfiniteExtent, Errors);
    ymError(NotOpenContour, Errors);
    ymError(NotRegion, Errors);
    ymError(SampleOverflow, Errors);
    ymError(NoTangent, Errors);
    ymError(EmptyShape, Errors);
    ymError(NotReversible, Errors);
    ymError(NonpositiveWeight, Errors);
    ymError(CoincidentShapePoints, Errors);
    ymError(NotImplemented, Errors);
};

class ycAffineRectangle {
public:
    ymErrorGroup(ycException);
    ymError(BadLength, Errors);
    ymError(BadSkew, Errors);
};

// --- Remote calls (until the remote-call module is built) ----------------------

class ycRPC {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(ObjectMismatch, Errors);
    // A failure reported by a server as a number (and a text): errorNumber()
    // is that number. The number is not persisted; a loaded RuntimeError has
    // the default number 0x10003401.
    class TLVSTD_API RuntimeError : public Errors {
    public:
        using ycErrorBase = Errors;
        RuntimeError() : Errors(std::wstring()) {}
        RuntimeError(std::int32_t code, const std::wstring& info) : Errors(info), code_(code) {}
        std::int32_t errorNumber() const override { return code_; }
        void suicideAndRethrow() override;

    protected:
        void dispatchSerialize(ycArchive& ar) override;

    private:
        std::int32_t code_ = 0x10003401;
    };
    ymError(UnknownCommunicator, Errors);
    ymError(UnsupportedFunction, Errors);
    ymError(CouldNotStartService, Errors);
    ymError(NestedRPC, Errors);
};

class ycRPCHandler {
public:
    ymError(DuplicateHandler, ycRPC::Errors);
};

#endif
