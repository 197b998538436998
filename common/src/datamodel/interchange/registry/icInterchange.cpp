#include "icInterchange.h"

#include "icAleFormat.h"
#include "icDocumentFormat.h"
#include "icEdlFormat.h"
#include "icFcp7xmlFormat.h"
#include "icFlatten.h"
#include "icOtioFormat.h"
#include "icReplaceFile.h"
#include "icSelect.h"
#include "icText.h"

#include <CoFile.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <istream>
#include <mutex>
#include <ostream>
#include <stdexcept>

namespace interchange
{

namespace
{

constexpr std::size_t lookedAt = 4096;

/// Our own, a line a format. Of two that look alike the first is taken.
std::vector<std::shared_ptr<const Format>> ownFormats()
{
    return {documentFormat(), aleFormat(), edlFormat(), fcp7xmlFormat(), otioFormat()};
}

/// Names are words in lower case, as options take them.
bool isOfName(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.';
}

class Registry
{
public:
    static Registry& instance()
    {
        static Registry registry;
        return registry;
    }
    bool add(std::shared_ptr<const Format> format)
    {
        const std::lock_guard lock(_mutex);
        const std::string_view name = format->name();
        const bool isTaken = std::ranges::any_of(_formats, [name](const auto& each) { return each->name() == name; });
        const bool isName = !name.empty() && std::ranges::all_of(name, isOfName);
        if (isTaken || !isName)
            return false;
        _formats.push_back(std::move(format));
        return true;
    }
    std::vector<std::shared_ptr<const Format>> all() const
    {
        const std::lock_guard lock(_mutex);
        return _formats;
    }

private:
    mutable std::mutex _mutex;
    std::vector<std::shared_ptr<const Format>> _formats = ownFormats();
};

/// A host's format that throws when it is asked is none that matches.
template <class Matches>
std::shared_ptr<const Format> find(Matches&& matches)
{
    for (const std::shared_ptr<const Format>& each : formats())
        try
        {
            if (matches(*each))
                return each;
        }
        catch (...)
        {
        }
    return nullptr;
}

std::string names()
{
    std::string text;
    for (const std::shared_ptr<const Format>& each : formats())
        text.append(text.empty() ? "" : ", ").append(each->name());
    return text;
}

/// The file's last extension, in lower case; empty for none.
std::string extensionOf(std::string_view path)
{
    const std::string_view name = path.substr(path.find_last_of('/') + 1);
    const std::size_t dot = name.find_last_of('.');
    std::string extension(dot == name.npos ? std::string_view() : name.substr(dot + 1));
    std::ranges::transform(extension, extension.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return extension;
}

// Sources

class BufferSource final : public Source
{
public:
    explicit BufferSource(std::string_view bytes)
        : _bytes(bytes)
    {
    }
    std::size_t read(char* to, std::size_t size) override
    {
        const std::size_t got = std::min(size, _bytes.size() - _at);
        std::copy_n(_bytes.data() + _at, got, to);
        _at += got;
        return got;
    }
    bool seek(std::uint64_t offset) override
    {
        if (offset > _bytes.size())
            return false;
        _at = static_cast<std::size_t>(offset);
        return true;
    }
    std::optional<std::uint64_t> size() const override { return _bytes.size(); }

private:
    std::string_view _bytes;
    std::size_t _at = 0;
};

/// A host's stream may be one that throws: its state says the same. False where it has failed.
template <class Call>
bool quietly(const std::ios& stream, Call&& call)
{
    try
    {
        call();
    }
    catch (const std::ios_base::failure&)
    {
    }
    return !stream.fail();
}

class StreamSource final : public Source
{
public:
    explicit StreamSource(std::istream& stream)
        : _stream(stream)
    {
    }
    std::size_t read(char* to, std::size_t size) override
    {
        if (!_stream.good())
            return 0;
        quietly(_stream, [&] { _stream.read(to, static_cast<std::streamsize>(size)); });
        return static_cast<std::size_t>(_stream.gcount());
    }
    bool seek(std::uint64_t offset) override
    {
        return quietly(_stream,
                       [&]
                       {
                           _stream.clear();
                           _stream.seekg(static_cast<std::streamoff>(offset));
                       });
    }
    std::string fault() const override { return _stream.bad() ? "the stream cannot be read" : ""; }

private:
    std::istream& _stream;
};

class FileSource final : public Source
{
public:
    explicit FileSource(const std::string& path)
        : _file(path.c_str())
    {
    }
    std::size_t read(char* to, std::size_t size) override { return _file.read(to, size); }
    bool seek(std::uint64_t offset) override { return _file.seek(offset); }
    std::optional<std::uint64_t> size() const override { return _file.size(); }
    std::string fault() const override { return _file.error() == 0 ? "" : std::strerror(_file.error()); }

private:
    DM::CoFileReader _file;
};

/// A source whose first bytes were looked at.
class LookedAtSource final : public Source
{
public:
    explicit LookedAtSource(Source& source)
        : _source(source)
    {
        while (_held < _first.size())
        {
            const std::size_t got = _source.read(_first.data() + _held, _first.size() - _held);
            if (got == 0)
                break;
            _held += got;
        }
    }
    std::string_view first() const { return {_first.data(), _held}; }

    std::size_t read(char* to, std::size_t size) override
    {
        if (_at == _held)
            return _source.read(to, size);
        const std::size_t got = std::min(size, _held - _at);
        std::copy_n(_first.data() + _at, got, to);
        _at += got;
        return got;
    }
    bool seek(std::uint64_t offset) override
    {
        if (!_source.seek(offset))
            return false;
        _at = _held;
        return true;
    }
    std::optional<std::uint64_t> size() const override { return _source.size(); }
    std::string fault() const override { return _source.fault(); }

private:
    Source& _source;
    std::array<char, lookedAt> _first;
    std::size_t _held = 0;
    std::size_t _at = 0;
};

// Sinks

class BufferSink final : public Sink
{
public:
    explicit BufferSink(std::string& bytes)
        : _bytes(bytes)
    {
    }
    bool write(std::string_view bytes) override
    {
        _bytes += bytes;
        return true;
    }

private:
    std::string& _bytes;
};

class StreamSink final : public Sink
{
public:
    explicit StreamSink(std::ostream& stream)
        : _stream(stream)
    {
    }
    bool write(std::string_view bytes) override
    {
        return quietly(_stream, [&] { _stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size())); });
    }
    std::string fault() const override
    {
        return quietly(_stream, [this] { _stream.flush(); }) ? "" : "the stream cannot be written";
    }

private:
    std::ostream& _stream;
};

/// Calls what may throw; what it throws is an error of the report. False then.
template <class Call>
bool guarded(Report& report, Call&& call)
{
    try
    {
        call();
        return true;
    }
    catch (...)
    {
        report.addException();
        return false;
    }
}

/// Of a host's format that does not do what it should.
std::string saysNotWhy(const Format& format, std::string_view verb)
{
    return "it cannot be " + std::string(verb) + " as '" + std::string(format.name()) + "', which does not say why";
}

std::shared_ptr<const Format> formatToWrite(const Options& options, std::string_view path, Report& report)
{
    std::shared_ptr<const Format> format = options.format.empty() ? formatOfPath(path) : formatNamed(options.format);
    if (!format && options.format.empty())
        report.add(Report::Error, 0, "the extension names no format that there is; there are " + names());
    else if (!format)
        report.add(Report::Error, 0, "no format is called '" + options.format + "'; there are " + names());
    return format;
}

Writing write(const Format& format, const DmRoot& root, Sink& sink, const Options& options, Report& report)
{
    Writing writing;
    guarded(report,
            [&]
            {
                const bool isWhole = options.composition.empty() && options.tracks.empty();
                CoSharedPtr<DmRoot> part = isWhole ? CoSharedPtr<DmRoot>() : select(root, options, report);
                if (options.flatten && !report.hasErrors())
                    part = flatten(part ? *part : root, report);
                writing.done = !report.hasErrors() && format.write(part ? *part : root, sink, options, report);
                report.at({});
                if (const std::string wrong = sink.fault(); !wrong.empty() && !report.hasErrors())
                    report.add(Report::Error, 0, wrong);
                if (!writing.done && !report.hasErrors())
                    report.add(Report::Error, 0, saysNotWhy(format, "written"));
                if (part)
                    report.locate(*part, false);
                report.locate(root);
            });
    return writing;
}

Writing finished(Writing writing, Report& report)
{
    guarded(report, [&] { writing.findings = report.takeFindings(); });
    writing.done = writing.done && !report.hasErrors();
    return writing;
}

} // namespace

// Formats

bool registerFormat(std::shared_ptr<const Format> format)
{
    try
    {
        return format && Registry::instance().add(std::move(format));
    }
    catch (...)
    {
        return false;
    }
}

std::vector<std::shared_ptr<const Format>> formats()
{
    try
    {
        return Registry::instance().all();
    }
    catch (const std::bad_alloc&)
    {
        return {};
    }
}

std::shared_ptr<const Format> formatNamed(std::string_view name)
{
    return find([name](const Format& format) { return format.name() == name; });
}

std::shared_ptr<const Format> formatOfPath(std::string_view path)
{
    const std::string extension = extensionOf(path);
    return find(
        [&extension](const Format& format)
        {
            const std::vector<std::string_view> all = format.extensions();
            return std::ranges::find(all, extension) != all.end();
        });
}

std::shared_ptr<const Format> formatOfBytes(std::string_view firstBytes)
{
    return find([firstBytes](const Format& format) { return format.looksLike(firstBytes.substr(0, lookedAt)); });
}

// Reading

Reading readSource(Source& source, const Options& options, std::string_view name)
{
    Reading reading;
    Report report(options.lenient ? Report::Lenient : Report::Strict);
    guarded(report,
            [&]
            {
                LookedAtSource looked(source);
                if (const std::string wrong = looked.fault(); !wrong.empty())
                    return report.add(Report::Error, 0, wrong);
                std::string first(looked.first());
                static_cast<void>(fromUtf16(first)); // each format says so itself
                reading.format = options.format.empty() ? formatOfBytes(first) : formatNamed(options.format);
                if (!reading.format && options.format.empty())
                    reading.format = formatOfPath(name);
                if (reading.format)
                {
                    reading.root = reading.format->read(looked, options, report);
                    if (!reading.root && !report.hasErrors())
                        report.add(Report::Error, 0, saysNotWhy(*reading.format, "read"));
                }
                else if (options.format.empty())
                    report.add(Report::Error, 0,
                               "neither the first bytes nor the extension tell a format; there are " + names());
                else
                    report.add(Report::Error, 0, "no format is called '" + options.format + "'; there are " + names());
            });
    if (report.hasErrors())
        reading.root.reset();
    if (!guarded(report, [&] { reading.findings = report.takeFindings(reading.root.get()); }))
    {
        reading.root.reset();
        guarded(report, [&] { reading.findings = report.takeFindings(); });
    }
    reading.places = report.takePlaces();
    return reading;
}

Reading readFile(const std::string& path, const Options& options)
{
    FileSource source(path);
    return readSource(source, options, path);
}

Reading readBuffer(std::string_view bytes, const Options& options, std::string_view name)
{
    BufferSource source(bytes);
    return readSource(source, options, name);
}

Reading readStream(std::istream& stream, const Options& options, std::string_view name)
{
    StreamSource source(stream);
    return readSource(source, options, name);
}

// Writing

Writing writeSink(const DmRoot& root, Sink& sink, const Options& options)
{
    Report report;
    Writing writing;
    guarded(report,
            [&]
            {
                if (const auto format = formatToWrite(options, {}, report))
                    writing = write(*format, root, sink, options, report);
            });
    return finished(std::move(writing), report);
}

Writing writeFile(const DmRoot& root, const std::string& path, const Options& options)
{
    Report report;
    Writing writing;
    guarded(report,
            [&]
            {
                const auto format = formatToWrite(options, path, report);
                if (!format)
                    return;
                ReplaceFile file(path);
                writing = write(*format, root, file, options, report);
                if (writing.done && !report.hasErrors())
                    file.finish();
            });
    return finished(std::move(writing), report);
}

Writing writeBuffer(const DmRoot& root, std::string& bytes, const Options& options)
{
    std::string written;
    BufferSink sink(written);
    Writing writing = writeSink(root, sink, options);
    if (writing.done)
        bytes = std::move(written);
    return writing;
}

Writing writeStream(const DmRoot& root, std::ostream& stream, const Options& options)
{
    StreamSink sink(stream);
    return writeSink(root, sink, options);
}

void removeHalfWrittenFiles()
{
    DM::CoReplaceFile::removeAll();
}

} // namespace interchange
