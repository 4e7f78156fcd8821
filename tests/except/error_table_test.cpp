// Every exception class of the library: its number, its group, its name in
// messages and in the registry, and its archive form.
#include "../support/bytes.h"

#include "std/tlvstd.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <typeinfo>

namespace {

// Thrown, then caught as its group.
template <class T, class Group>
bool caughtAsGroup()
{
    try {
        throw T();
    } catch (const Group&) {
        return true;
    } catch (...) {
        return false;
    }
}

struct Row {
    const char* name;
    std::int32_t number;
    std::function<ycException*()> make;
    bool (*caughtAsGroup)();
};

#define ROW(T, Group, number) Row{#T, static_cast<std::int32_t>(number), [] { return new T(); }, &caughtAsGroup<T, Group>}

// Names and numbers as the error table gives them.
const Row kRows[] = {
    ROW(ycArchive::Eof, ycArchive::Errors, 0x10000100),
    ROW(ycArchive::BadBuffer, ycArchive::Errors, 0x10000101),
    ROW(ycArchive::BadType, ycArchive::Errors, 0x10000102),
    ROW(ycArchive::BadContent, ycArchive::Errors, 0x10000103),
    ROW(ycArchive::NotFound, ycArchive::Errors, 0x10000104),
    ROW(ycArchive::Duplicate, ycArchive::Errors, 0x10000105),
    ROW(ycArchive::UnknownType, ycArchive::Errors, 0x10000106),
    ROW(ycArchive::UnknownVersion, ycArchive::Errors, 0x10000107),
    ROW(ycArchive::BadFile, ycArchive::Errors, 0x10000109),
    ROW(ycArchive::UnknownArchiveVersion, ycArchive::Errors, 0x1000010a),
    ROW(ycArchive::CannotWriteToOldArchive, ycArchive::Errors, 0x1000010b),
    ROW(ycArchive::NotSeekable, ycArchive::Errors, 0x1000010c),
    ROW(ycPel::UnboundWindow, ycPel::Errors, 0x10000400),
    ROW(ycPel::BadWindow, ycPel::Errors, 0x10000402),
    ROW(ycPel::DisjointWindows, ycPel::Errors, 0x10000403),
    ROW(ycPel::BadCoord, ycPel::Errors, 0x10000405),
    ROW(ycPel::Unknown, ycPel::Errors, 0x10000406),
    ROW(ycPel::NonlinearXform, ycPel::Errors, 0x10000409),
    ROW(ycRectErrors::NoOverlap, ycRectErrors::Errors, 0x10000407),
    ROW(ycRectErrors::NegativeSize, ycRectErrors::Errors, 0x10000408),
    ROW(ycColorSpaceDefs::BadColorSpace, ycColorSpaceDefs::Errors, 0x1000040a),
    ROW(ycPelFunc::Range, ycPelFunc::Errors, 0x10000500),
    ROW(ycPelFunc::Overlap, ycPelFunc::Errors, 0x10000501),
    ROW(ycPelFunc::BadParams, ycPelFunc::Errors, 0x10000502),
    ROW(yc_ProjectionMethod::ClippedProjection, yc_ProjectionMethod::Errors, 0x10000900),
    ROW(yc_ProjectionMethod::ZeroSubsamplingFactor, yc_ProjectionMethod::Errors, 0x10000901),
    ROW(yc_ProjectionMethod::BadProjectionRegion, yc_ProjectionMethod::Errors, 0x10000902),
    ROW(ycPelRootPool::NotSupported, ycPelRootPool::Errors, 0x1000098c),
    ROW(ycPelRootPool::Outstanding, ycPelRootPool::Errors, 0x1000098d),
    ROW(ycAcqImage::NotSupported, ycAcqImage::Errors, 0x100009d0),
    ROW(ycVDBRecordBase::NoResult, ycVDBRecordBase::Errors, 0x10000b00),
    ROW(ycMathError::Singular, ycMathError::Errors, 0x10000f00),
    ROW(ycMathError::NullVector, ycMathError::Errors, 0x10000f01),
    ROW(ycMathError::DivisionByZero, ycMathError::Errors, 0x10000f02),
    ROW(ycRangeDefs::BadParams, ycRangeDefs::Errors, 0x10000f20),
    ROW(ycRangeDefs::NotPartialRange, ycRangeDefs::Errors, 0x10000f21),
    ROW(yc2XformDefs::NotImplemented, yc2XformDefs::Errors, 0x10000f30),
    ROW(yc2XformPoly::BadParams, yc2XformDefs::Errors, 0x10000f38),
    ROW(yc2XformPoly::IllDefined, yc2XformDefs::Errors, 0x10000f39),
    ROW(ycStatistics::NoSamples, ycStatistics::Errors, 0x10000f40),
    ROW(ycRobustFitDefs::BadParams, ycRobustFitDefs::Errors, 0x10000f41),
    ROW(ycAdaptiveRANSACDefs::BadParams, ycAdaptiveRANSACDefs::Errors, 0x10000f43),
    ROW(ycAdaptiveRANSACDefs::FailedToFitModel, ycAdaptiveRANSACDefs::Errors, 0x10000f44),
    ROW(ycDevEnv::UserCancelled, ycDevEnv::Errors, 0x10001000),
    ROW(ycDIB::BadFormat, ycDIB::Errors, 0x10001401),
    ROW(ycDIB::ReadError, ycDIB::Errors, 0x10001402),
    ROW(ycDIB::WriteError, ycDIB::Errors, 0x10001403),
    ROW(ycDIB::NoDibData, ycDIB::Errors, 0x10001404),
    ROW(ycRLEBuffer::Degenerate, ycRLEBuffer::Errors, 0x10001800),
    ROW(yc_Resource::Timeout, yc_Resource::Errors, 0x10002100),
    ROW(yc_Resource::NamedObjectExists, yc_Resource::Errors, 0x10002102),
    ROW(yc_Resource::NameConflict, yc_Resource::Errors, 0x10002104),
    ROW(yc_Resource::CreateFailed, yc_Resource::Errors, 0x10002105),
    ROW(yc_Resource::BrokenLock, yc_Resource::Errors, 0x00000000),
    ROW(ycThreadID::CouldNotRegister, ycThreadID::Errors, 0x10002101),
    ROW(ycThreadID::CreateFailed, ycThreadID::Errors, 0x10002103),
    ROW(ycAffineSamplingParams::BadNumSamples, ycAffineSamplingParams::Errors, 0x10002320),
    ROW(ycAffineSamplingParams::NotImplemented, ycAffineSamplingParams::Errors, 0x10002321),
    ROW(ycAffTransDefs::UnboundWindow, ycAffTransDefs::Errors, 0x10002324),
    ROW(ycAffTransDefs::Clipped, ycAffTransDefs::Errors, 0x10002325),
    ROW(ycSampledImageWarpDefs::BadParams, ycSampledImageWarpDefs::Errors, 0x10002390),
    ROW(ycRemoteObject::ObjectMismatch, ycRemoteObject::Errors, 0x10002600),
    ROW(ycShapesError::DegenerateShape, ycShapesError::Errors, 0x10002a00),
    ROW(ycShapesError::LinesParallel, ycShapesError::Errors, 0x10002a01),
    ROW(ycShapesError::BadRadius, ycShapesError::Errors, 0x10002a02),
    ROW(ycShapesError::NotConcentric, ycShapesError::Errors, 0x10002a03),
    ROW(ycShapesError::BadCoef, ycShapesError::Errors, 0x10002a04),
    ROW(ycShapesError::BadGeom, ycShapesError::Errors, 0x10002a05),
    ROW(ycShapesError::BadUnit, ycShapesError::Errors, 0x10002a06),
    ROW(ycShapesError::BadIndex, ycShapesError::Errors, 0x10002a10),
    ROW(ycShapesError::BadParams, ycShapesError::Errors, 0x10002a11),
    ROW(ycShapesError::InfiniteExtent, ycShapesError::Errors, 0x10002a20),
    ROW(ycShapesError::NotOpenContour, ycShapesError::Errors, 0x10002a21),
    ROW(ycShapesError::NotRegion, ycShapesError::Errors, 0x10002a22),
    ROW(ycShapesError::SampleOverflow, ycShapesError::Errors, 0x10002a23),
    ROW(ycShapesError::NoTangent, ycShapesError::Errors, 0x10002a24),
    ROW(ycShapesError::EmptyShape, ycShapesError::Errors, 0x10002a25),
    ROW(ycShapesError::NotReversible, ycShapesError::Errors, 0x10002a26),
    ROW(ycShapesError::NonpositiveWeight, ycShapesError::Errors, 0x10002a30),
    ROW(ycShapesError::CoincidentShapePoints, ycShapesError::Errors, 0x10002a31),
    ROW(ycShapesError::NotImplemented, ycShapesError::Errors, 0x10002aff),
    ROW(ycAffineRectangle::BadLength, ycAffineRectangle::Errors, 0x10002a07),
    ROW(ycAffineRectangle::BadSkew, ycAffineRectangle::Errors, 0x10002a08),
    ROW(ycBoard::BadParams, ycBoard::Errors, 0x10002c00),
    ROW(ycBoard::StaticInitDisorder, ycBoard::Errors, 0x10002c01),
    ROW(ycBoard::NotSupported, ycBoard::Errors, 0x10002c02),
    ROW(ycBoard::HardwareNotResponding, ycBoard::Errors, 0x10002c03),
    ROW(ycBoard::Timeout, ycBoard::Errors, 0x10002c04),
    ROW(ycBoard::HardwareInUse, ycBoard::Errors, 0x10002c08),
    ROW(ycBoard::HardwareNotInitialized, ycBoard::Errors, 0x10002c09),
    ROW(ycBoard::FpgaLoadFailure, ycBoard::Errors, 0x10002c0b),
    ROW(ycBoard::BadEERAMContents, ycBoard::Errors, 0x10002c0c),
    ROW(ycBoard::MultiProcessAccessFailed, ycBoard::Errors, 0x10002c0d),
    ROW(ycAccelerator::BadFile, ycAccelerator::Errors, 0x10002c05),
    ROW(ycAccelerator::BootFailure, ycAccelerator::Errors, 0x10002c06),
    ROW(ycAccelerator::ConnectionBroken, ycAccelerator::Errors, 0x10002c0a),
    ROW(ycAffProjImgDefs::UnboundWindow, ycAffProjImgDefs::Errors, 0x10003300),
    ROW(ycAffProjImgDefs::Clipped, ycAffProjImgDefs::Errors, 0x10003301),
    ROW(ycAffProjImgDefs::BadWeightImage, ycAffProjImgDefs::Errors, 0x10003302),
    ROW(ycAffProjImgDefs::NotImplemented, ycAffProjImgDefs::Errors, 0x10003303),
    ROW(ycRPC::ObjectMismatch, ycRPC::Errors, 0x10003400),
    ROW(ycRPC::RuntimeError, ycRPC::Errors, 0x10003401),
    ROW(ycRPC::UnknownCommunicator, ycRPC::Errors, 0x10003402),
    ROW(ycRPC::UnsupportedFunction, ycRPC::Errors, 0x10003403),
    ROW(ycRPC::CouldNotStartService, ycRPC::Errors, 0x10003405),
    ROW(ycRPC::NestedRPC, ycRPC::Errors, 0x10003406),
    ROW(ycRPCHandler::DuplicateHandler, ycRPC::Errors, 0x10003404),
    ROW(yc_FastImageTransfer::TransferFailed, yc_FastImageTransfer::Errors, 0x10003502),
    ROW(ycLSPointToPointFitter::UnstableErr, ycLSPointToPointFitter::Errors, 0x10003600),
    ROW(ycLSPointToPointFitter::BadArgErr, ycLSPointToPointFitter::Errors, 0x10003601),
    ROW(ycLSPointToLineFitter::UnstableErr, ycLSPointToLineFitter::Errors, 0x10003610),
    ROW(ycLSPointToLineFitter::BadArgErr, ycLSPointToLineFitter::Errors, 0x10003611),
    ROW(ycLSCircleFitter::UnstableErr, ycLSCircleFitter::Errors, 0x10003620),
    ROW(ycLSLineFitter::UnstableErr, ycLSLineFitter::Errors, 0x10003630),
    ROW(ycCircleFitDefs::BadParams, ycCircleFitDefs::Errors, 0x10003640),
    ROW(ycLineFitDefs::BadParams, ycLineFitDefs::Errors, 0x10003650),
    ROW(ycEllipseFitDefs::BadParams, ycEllipseFitDefs::Errors, 0x10003660),
    ROW(ycPointFitDefs::BadParams, ycPointFitDefs::Errors, 0x10003670),
    ROW(ycPointFitDefs::NotImplemented, ycPointFitDefs::Errors, 0x10003671),
    ROW(yc2XformCalib2Defs::BadParams, yc2XformCalib2Defs::Errors, 0x10003930),
    ROW(yc2XformCalib2Defs::MapsToInfinity, yc2XformCalib2Defs::Errors, 0x10003931),
    ROW(yc2XformCalib2Defs::NumericalError, yc2XformCalib2Defs::Errors, 0x10003932),
    ROW(yc2XformCalib2Defs::InsufficientPoints, yc2XformCalib2Defs::Errors, 0x10003933),
    ROW(yc2XformCalib2Defs::NotImplemented, yc2XformCalib2Defs::Errors, 0x10003934),
    ROW(yc2XformPerspectiveDefs::BadParams, yc2XformPerspectiveDefs::Errors, 0x10003930),
    ROW(yc2XformPerspectiveDefs::NumericalError, yc2XformPerspectiveDefs::Errors, 0x10003932),
    ROW(ycParallelIO::BadParams, ycParallelIO::Errors, 0x10003a00),
    ROW(ycParallelIO::CannotEnable, ycParallelIO::Errors, 0x10003a01),
    ROW(ycParallelIO::NotEnabled, ycParallelIO::Errors, 0x10003a03),
    ROW(ycParallelIO::NotImplemented, ycParallelIO::Errors, 0x10003a04),
    ROW(ycParallelIO::Unspecified, ycParallelIO::Errors, 0x10003a05),
    ROW(yc2XformDeformDefs::BadParams, yc2XformDeformDefs::Errors, 0x10003e00),
    ROW(ycSerialIO::BadParams, ycSerialIO::Errors, 0x10004d00),
    ROW(ycSerialIO::NotSupported, ycSerialIO::Errors, 0x10004d01),
    ROW(ycSerialIO::CannotInit, ycSerialIO::Errors, 0x10004d06),
    ROW(ycSerialIO::ReadFail, ycSerialIO::Errors, 0x10004d07),
    ROW(ycSerialIO::WriteFail, ycSerialIO::Errors, 0x10004d08),
    ROW(ycPointingDevice::NoDevice, ycPointingDevice::Errors, 0x10004d03),
    ROW(ycPointingDevice::NotDetected, ycPointingDevice::Errors, 0x10004d04),
    ROW(ycPointingDevice::UnSupported, ycPointingDevice::Errors, 0x10004d05),
    ROW(ycFileSystemSelect::UnsupportedFileSystem, ycFileSystemSelect::Errors, 0x10004e00),
    ROW(yc2DMap::notValid, yc2DMap::Errors, 0x10005810),
    ROW(yc2DLinearMap::notValidFit, yc2DLinearMap::Errors, 0x10005820),
    ROW(ycPolynomialRootFinder::BadParams, ycPolynomialRootFinder::Errors, 0x10006000),
    ROW(ycTcpip::AccessFailed, ycTcpip::Errors, 0x10006701),
    ROW(ycTcpip::ConnectionBroken, ycTcpip::Errors, 0x10006702),
    ROW(ycTcpip::Timeout, ycTcpip::Errors, 0x10006703),
    ROW(ycTcpip::NotSupported, ycTcpip::Errors, 0x10006704),
    ROW(ycUdpip::AccessFailed, ycUdpip::Errors, 0x10006711),
    ROW(ycUdpip::BufferNotEmpty, ycUdpip::Errors, 0x10006712),
    ROW(ycUdpip::ConnectionBroken, ycUdpip::Errors, 0x10006713),
    ROW(ycUdpip::InvalidParameter, ycUdpip::Errors, 0x10006714),
    ROW(ycUdpip::Timeout, ycUdpip::Errors, 0x10006715),
    ROW(ycUdpip::NotSupported, ycUdpip::Errors, 0x10006716),
    ROW(yc_PriorityQueueDefs::EmptyQueue, yc_PriorityQueueDefs::Errors, 0x10007200),
    ROW(yc_PriorityQueueDefs::BadHandle, yc_PriorityQueueDefs::Errors, 0x10007201),
    ROW(ycCalibCorrespondenceDefs::NegativeWeight, ycCalibCorrespondenceDefs::Errors, 0x1000ac00),
    ROW(ycWorkerThreadManagerDefs::BadParams, ycWorkerThreadManagerDefs::Errors, 0x1000ac00),
    ROW(ycProgressDefs::BadParams, ycProgressDefs::Errors, 0x1000b300),
    ROW(ycLineScanDistortionCorrectionDefs::BadParams, ycLineScanDistortionCorrectionDefs::Errors, 0x1000b410),
    ROW(ycLineScanDistortionCorrectionDefs::BadImage, ycLineScanDistortionCorrectionDefs::Errors, 0x1000b411),
    ROW(ycLineScanDistortionCorrectionDefs::NotTrained, ycLineScanDistortionCorrectionDefs::Errors, 0x1000b412),
    ROW(ycLineScanDistortionCorrectionDefs::MismatchedRanges, ycLineScanDistortionCorrectionDefs::Errors, 0x1000b413),
    ROW(ycHistoStats::Overflow, ycHistoStats::Errors, 0x1000b500),
    ROW(ycDepthImageDefs::BadParams, ycDepthImageDefs::Errors, 0x1000b800),
    ROW(ycDepthImageDefs::NotInitialized, ycDepthImageDefs::Errors, 0x1000b801),
    ROW(ycCharCodeDefs::NotRepresentable, ycCharCodeDefs::Errors, 0x1000c900),
    ROW(ycDictionary::BadParams, ycDictionary::Errors, 0x1000000c),
    ROW(ycStringLiteral::BadParams, ycStringLiteral::Errors, 0x1000000d),
    ROW(ycImageWarpDefs::BadParams, ycImageWarpDefs::Errors, 0x16030001),
    ROW(ycImageWarpDefs::BadImage, ycImageWarpDefs::Errors, 0x16030002),
    ROW(ycImageWarpDefs::BadWindow, ycImageWarpDefs::Errors, 0x16030003),
    ROW(ycImageWarpDefs::NotTrained, ycImageWarpDefs::Errors, 0x16030004),
    ROW(ycImageWarp1DDefs::BadParams, ycImageWarp1DDefs::Errors, 0x16030040),
    ROW(ycImageWarp1DDefs::BadImage, ycImageWarp1DDefs::Errors, 0x16030042),
    ROW(ycImageWarp1DDefs::BadWindow, ycImageWarp1DDefs::Errors, 0x16030043),
    ROW(ycImageWarp1DDefs::NotTrained, ycImageWarp1DDefs::Errors, 0x16030044),
    ROW(ycImageWarp1DDefs::InappropriateXform, ycImageWarp1DDefs::Errors, 0x16030045),
    ROW(ycNMMatrix::sizeErr, ycNMMatrix::Errors, 0x00000001),
    ROW(ycNMMatrix::unstableErr, ycNMMatrix::Errors, 0x00000002),
    ROW(ycLSGeneralFitter::unstableErr, ycLSGeneralFitter::Errors, 0x00000021),
    ROW(ycLSGeneralFitter::badArgErr, ycLSGeneralFitter::Errors, 0x00000022),
    ROW(ycInvariantFailure, ycException, 0x10000001),
    ROW(ycAssertFailure, ycException, 0x10000003),
    ROW(ycUnknownError, ycException, 0x10000004),
    ROW(ycPelbufHelper1::ycPelbufTrigger, ycException, 0x10000007),
    ROW(ycBadPointer, ycException, 0x10000008),
    ROW(ycSysTimeBadArgument, ycException, 0x10000009),
    ROW(ycUnsupportedHW, ycException, 0x1000000a),
    ROW(ycBadUnicodeChar, ycException, 0x1000000b),
    ROW(yc_ParseError, ycException, 0x10000002),
    ROW(ycTimeout::Expired, ycTimeout::Expired, 0x10001500),
    ROW(ycTimeout::InternalExpired, ycTimeout::Expired, 0x10001501),
    ROW(ycTimeout::Cancel, ycTimeout::Expired, 0x10001502),
    ROW(ycAdaptiveRANSACDefs::InsufficientDataPoints, ycAdaptiveRANSACDefs::Errors, 0x10000f45),};

TEST(ErrorTable, EveryClassHasItsNumberGroupNameAndArchiveForm)
{
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        std::unique_ptr<ycException> e(row.make());
        const ycException& made = *e;
        const std::type_info& type = typeid(made);
        EXPECT_EQ(e->errorNumber(), row.number);
        EXPECT_TRUE(row.caughtAsGroup());
        EXPECT_EQ(yfTypeName(type), row.name);
        EXPECT_EQ(e->message(true).rfind(yfWiden(row.name) + L": ", 0), 0u);
        for (auto ordering : {ycArchive::bigEndian, ycArchive::littleEndian}) {
            ycMemoryArchive out(ordering);
            out << *e;
            std::unique_ptr<ycPersistent> back = ycPersistent::readObject(*LoadArchive(out));
            const ycPersistent& loaded = *back;
            ASSERT_EQ(typeid(loaded), type);
            EXPECT_EQ(static_cast<ycException&>(*back).message(true), e->message(true));
        }
    }
    // Affine rectangle failures are a group of their own, not shape errors.
    EXPECT_FALSE((caughtAsGroup<ycAffineRectangle::BadSkew, ycShapesError::Errors>()));
}

TEST(ErrorMessages, EveryRule)
{
    struct Case {
        std::function<ycException*()> make;
        std::wstring withoutName;
        std::wstring withName; // empty: not checked
    } cases[] = {
        {[] { return new ycShapesError::BadParams(); }, L"no further information provided",
         L"ycShapesError::BadParams: no further information provided"},
        {[] { return new ycAssertFailure(nullptr); }, L"no further information provided", L""},
        {[] { return new ycAssertFailure(L""); }, L"no further information provided", L""},
        {[] { return new ycArchive::Eof("archive", 1234); }, L"thrown from file: archive, line: 1234",
         L"ycArchive::Eof: thrown from file: archive, line: 1234"},
        {[] { return new ycArchive::BadFile("f", 0); }, L"f", L""},
        {[] { return new ycArchive::BadFile(L"Could not open file: \u00e9.bin", 0); }, L"Could not open file: \u00e9.bin", L""},
        {[] { return new ycArchive::NotFound(static_cast<const char*>(nullptr), 7); }, L"no further information provided", L""},
        {[] { return new ycArchive::UnknownType("T", "f", 0); }, L"T; thrown from file: f, line: 0", L""},
        {[] { return new ycArchive::UnknownType("Gear", nullptr, 0); }, L"Gear", L"ycArchive::UnknownType: Gear"},
        {[] { return new ycUnknownError(0); }, L"no further information provided", L""},
        {[] { return new ycUnknownError(0x1234abcd); }, L"Internal error code: 1234abcd", L""},
        {[] { return new ycUnknownError(-1); }, L"Internal error code: ffffffff", L""},
        {[] { return new ycRPC::RuntimeError(0x123, L"remote text"); }, L"remote text", L"ycRPC::RuntimeError: remote text"},
        {[] { return new ycColorSpaceDefs::BadColorSpace(L"grey is not three planes"); }, L"grey is not three planes", L""},
        {[] { return new ycPel::BadCoord(0, 99); }, L"no further information provided", L""},
    };
    for (const Case& c : cases) {
        std::unique_ptr<ycException> e(c.make());
        SCOPED_TRACE(yfToUtf8(c.withoutName));
        EXPECT_EQ(e->message(false), c.withoutName);
        if (!c.withName.empty()) {
            EXPECT_EQ(e->message(true), c.withName);
        }
        std::wostringstream os;
        e->message(os);
        EXPECT_EQ(os.str(), e->message(true));
    }
}

TEST(SuicideAndRethrow, ArrivesAsTheMostDerivedClassWithItsFields)
{
    auto rethrow = [](ycException* heap) {
        heap->suicideAndRethrow();
        ADD_FAILURE() << "did not throw";
    };
    try {
        rethrow(new ycArchive::UnknownType("Gear", "archive", 12));
    } catch (const ycArchive::UnknownType& e) {
        EXPECT_EQ(e.name(), "Gear");
        EXPECT_EQ(e.file(), L"archive");
        EXPECT_EQ(e.line(), 12);
    }
    try {
        rethrow(new ycRPC::RuntimeError(0x10006702, L"peer closed"));
    } catch (const ycRPC::RuntimeError& e) {
        EXPECT_EQ(e.errorNumber(), 0x10006702);
        EXPECT_EQ(e.info(), L"peer closed");
    }
    // One loaded from an archive, as a reply or a log brings it.
    ycMemoryArchive out;
    out << ycArchive::UnknownVersion("std/math/vector", 77);
    try {
        rethrow(static_cast<ycException*>(ycPersistent::readObject(*LoadArchive(out)).release()));
    } catch (const ycArchive::UnknownVersion& e) {
        EXPECT_EQ(e.file(), L"std/math/vector");
        EXPECT_EQ(e.line(), 77);
    }
}

} // namespace
