// The inspector's two commands over an open loading archive.
//
// Listing. A seekable archive is listed from its index alone, no object
// loaded: its marks, object records and pointers in stream order, each item
// inside the object record whose bytes hold it. A plain archive has no index
// and its records no sizes, so it is walked from the front: each object
// record is read through the type registry (ycArchive::readTraced) to learn
// where it ends, and the records and references read inside it are its
// contents. Bytes that do not start a record are "data" up to the next
// record marker; so a marker that happens to lie in such data is taken for a
// record (which then fails to read, and the walk stops there). What was
// listed before a failure is kept. A record of a class this program does not
// register (an application's own) cannot be read, so nothing tells where it
// ends: it is listed with "unknownClass", the records around it unfinished,
// and the walk goes on at the next record marker, so the records it holds
// are listed after it rather than inside it.
//
// Items, as nodes (tree.h):
//   {"kind": "mark", "number", "position"}
//   {"kind": "object", "id", "type", "position", "size", "unknownClass"?,
//    "contents"?}
//      position: the record's marker; size: the record's bytes, marker to
//      end (null for a record whose reading failed); unknownClass: true for
//      a class not registered here; contents: the items inside, if any
//   {"kind": "pointer", "position", "id"}       seekable: a pointer record, or
//      a reference inside a record, to the object with that id
//   {"kind": "reference", "position", "id"}     plain: a reference inside a
//      record to an object read before (id > 0) or to none (id 0)
//   {"kind": "data", "position", "size"}        plain: bytes of no record
// Ids are those references use: the id in a seekable record's header, the
// order of the record in a plain archive (1, 2, ... counting nested records).
//
// Showing loads one object: through the index in a seekable archive, by
// walking the records in a plain one until the record with that id has been
// read. The object is described (describe.h) as soon as its record is whole.
#ifndef TLVSTD_TOOLS_ARCHIVE_WALK_H
#define TLVSTD_TOOLS_ARCHIVE_WALK_H

#include "budget.h"
#include "tree.h"

#include "std/archive/archive.h"

#include <cstdint>
#include <exception>
#include <string>
#include <filesystem>
#include <iosfwd>
#include <optional>

// {"version", "byteOrder": "big-endian" | "little-endian", "seekable", "bytes"}
Node archiveHeader(ycArchive& ar);

// Appends the archive's items to the list `contents` as they are found; each
// spends one from `records`. Throws what the archive throws for a record
// that cannot be read, or LimitReached.
void listContents(ycArchive& ar, Node& contents, Budget& records);

// The text form of a listing: the header's line, then one line per item,
// contents indented under their record.
void writeListing(std::ostream& os, const Node& header, const Node& contents);

// Object `id` loaded and described: {"id", "type", "position", "size",
// "state"}; with `png`, its pels are also written there as a PNG. A plain
// archive's walk spends from `records`. ycArchive::NotFound when no record
// has that id.
Node showObject(ycArchive& ar, std::int32_t id, Budget& records, Budget& fields,
                const std::optional<std::filesystem::path>& png);

// One command of the tool, run on an open archive, its output written to
// `out` as text or JSON. A listing that fails part way writes what it found
// (as JSON, with an "error" field) before the failure is thrown on.
struct Command {
    bool show = false; // else list
    std::int32_t id = 0;
    bool json = false;
    std::uint64_t limit = Budget::kDefault;
    std::optional<std::filesystem::path> png;
};
void inspect(ycArchive& ar, const Command& command, std::ostream& out);
// The one-line text of a failure that inspect threw.
std::string inspectFailure(std::exception_ptr failure);

#endif
