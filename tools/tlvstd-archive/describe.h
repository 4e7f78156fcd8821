// The loaded state of an object, as the inspector shows it.
//
// describe() gives an object node whose first field, "class", is the
// registered type name; the fields after it depend on the class. Nested
// objects (a transform's members, a buffer's root) are object nodes with
// their own "class". Field names are the same in the text and JSON forms
// (tree.h).
//
// Exceptions (every ycException):
//   errorNumber   the 32-bit error number, as an integer
//   message       message(true) in UTF-8: class name, ": ", the text
//   info          the free text, for exceptions that carry one
//   file, line    where an archive error was raised
//   typeName      the class an archive could not make (ycArchive::UnknownType)
//
// Transforms, each with isLinear first:
//   yc2XformLinear       matrix [[a, b], [c, d]], vector [x, y]: p -> M p + t
//   yc2XformComposed     members: the nested members, applied last to first
//                        (an empty sequence is the identity, so linear)
//   yc2XformPerspective  matrix: the 3x3 homography, row by row
//   yc2XformPoly         degree, xCoefficients, yCoefficients (in the order
//                        of xfpoly.h)
// yc2XformCache: isLinear, clientFromImage (the transform), imageFromClient
// (its inverse, or null while nobody has computed it).
//
// Pel roots, ycPelRoot<T> for the thirteen pel types: pelType (canonical
// name), width, height, rowUpdate, alignModulus, stats over every pel.
// Pel buffers (ycPelBuffer<T>, ycPelBuffer_const<T>, yc3PlanePelBuffer and
// its _const form): pelType, bound, size [w, h], windowRoot [x, y, w, h],
// offset [x, y], rowUpdate (null when unbound), colorSpace (three-plane
// buffers only), clientFromImage (the transform), root (the root's fields
// without its stats, or null when unbound), stats over the window's pels.
//
// Statistics. One channel gives {min, max, mean}; min and max are integers
// for integer pels and reals for float and double, the mean is a real.
// Several channels give one such object per channel:
//   ycPackedRGB16Pel      one channel, the 16-bit value (which bits carry
//                         which colour belongs to the format that made it)
//   ycPackedRGB32Pel      red, green, blue, fourth
//   ycPair<T>             x, y (first and second)
//   yc3PlanePel           named by the buffer's colour space: red, green,
//                         blue (RGB, and every root: the library's default);
//                         hue, saturation, intensity (HSI); y, u, v (YUV)
// Float and double channels also give nanCount: NaN pels are counted there
// and left out of min, max and mean, which are null when every pel is NaN.
// A root or window without pels (empty root, unbound buffer, empty window)
// has stats null, so every class keeps the same fields.
//
// Any other class gives "class" alone.
//
// Bounds. Every node made, scalars and list items included, is spent from
// `fields`; shared members are described again wherever they appear, so a
// graph that would expand beyond the budget stops with LimitReached. A list
// longer than 64 items (polynomial coefficients) shows the first 64 and is
// followed by a field of the same name with "Omitted" appended, giving how
// many were left out. Statistics take one pass over the pels.
#ifndef TLVSTD_TOOLS_ARCHIVE_DESCRIBE_H
#define TLVSTD_TOOLS_ARCHIVE_DESCRIBE_H

#include "budget.h"
#include "tree.h"

#include <filesystem>

class ycPersistent;

// An object node: "class" (the registered type name) first, then the state
// a user of the class sees. Every node made is spent from `fields`.
Node describe(const ycPersistent& object, Budget& fields);

// Writes a pel buffer's window, or a whole pel root, as a PNG: 8 or 16-bit
// grey, packed RGB32 (the fourth byte dropped) or three-plane (planes 0, 1, 2
// as red, green, blue). Packed RGB16 has no conversion to these in the
// library and is refused. Anything else, or an unbound buffer, an empty
// window or an empty root, throws std::invalid_argument whose one-line text
// starts with the class name ("ycPelBuffer<float> has no PNG form: ..."), so
// the caller can say which object it was. Failures of the file itself are
// the image-file module's (ycDIB::WriteError).
void writePng(const ycPersistent& object, const std::filesystem::path& path);

#endif
