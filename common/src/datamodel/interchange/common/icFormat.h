/// What a format of cut lists is: an object with a name, extensions, a look at the first bytes, read and write. A host
/// adds one of its own with registerFormat (icInterchange.h), where files are read and written through them all.
///
///     class MyFormat final : public interchange::Format
///     {
///     public:
///         std::string_view name() const override { return "mine"; }
///         std::vector<std::string_view> extensions() const override { return {"mine"}; }
///         bool looksLike(std::string_view first) const override { return first.starts_with("MINE"); }
///         CoSharedPtr<DmRoot> read(Source&, const Options&, Report&) const override;
///         bool write(const DmRoot&, Sink&, const Options&, Report&) const override;
///     };
#pragma once

#include "icReport.h"

#include "dmRoot.h"
#include "tuFcm.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace interchange
{

/// What a conversion is asked for. What a format has no use for it passes over.
struct Options
{
    /// By name; empty: reading, by the first bytes, then the extension; writing, by the extension.
    std::string format = {};
    DM::FrameCodeModes fcm = DM::FCM_NOT_DEFINED; ///< of what does not say its mode; not defined: the format chooses
    bool lenient = false;                         ///< carry on where a list has a mistake
    bool places = false;                          ///< reading also tells where in the file each node came from
    std::string composition = {};                 ///< the one to write, by its name; empty: all, or the first
    std::vector<std::string> tracks = {};         ///< those to write, as "V1" and "A2"; empty: all
    bool flatten = false;                         ///< write what nested compositions play in their place
    std::map<std::string, std::string, std::less<>> more = {}; ///< of a single format: {"reel-length", "8"}
    /// Of a file that belongs to this one: what would be guessed is that mode, where it has all labels.
    DM::FrameCodeModes beside = DM::FCM_NOT_DEFINED;
};

/// Bytes to be read: of a file, a buffer, a stream, or whatever a host has.
class ZR_DM_API Source
{
public:
    virtual ~Source() = default;
    /// Puts the next bytes at `to`, at most `size` (which is not 0); returns how many, 0 at the end and after a fault.
    virtual std::size_t read(char* to, std::size_t size) = 0;
    /// Goes to a byte counted from the begin; false where the source cannot, or there is no such byte.
    virtual bool seek(std::uint64_t /*offset*/) { return false; }
    /// How many bytes there are; none where that is not known.
    virtual std::optional<std::uint64_t> size() const { return std::nullopt; }
    /// What went wrong; empty for nothing.
    virtual std::string fault() const { return {}; }

    /// All that is left. Throws std::bad_alloc, and std::runtime_error with what went wrong.
    std::string readAll();
};

/// Where bytes are written to.
class ZR_DM_API Sink
{
public:
    virtual ~Sink() = default;
    /// False when the bytes cannot be taken; the writer then stops.
    virtual bool write(std::string_view bytes) = 0;
    virtual std::string fault() const { return {}; }
};

class ZR_DM_API Format
{
public:
    virtual ~Format() = default;

    /// One word in lower case, as --from and --to take it.
    virtual std::string_view name() const = 0;
    /// In lower case and without the dot; the first is that of files that are written.
    virtual std::vector<std::string_view> extensions() const = 0;
    /// Whether a file that begins so is of this format, and hardly of another one. No more than the first 4096 bytes.
    virtual bool looksLike(std::string_view firstBytes) const = 0;

    /// Null with an error in the report. What it throws is reported, too.
    virtual CoSharedPtr<DmRoot> read(Source& source, const Options& options, Report& report) const = 0;
    /// False with an error in the report; what was written until then is thrown away.
    virtual bool write(const DmRoot& root, Sink& sink, const Options& options, Report& report) const = 0;
};

} // namespace interchange
