// The library as a host meets it: its formats, those that a host adds, and where bytes come from and go to.
#include "icInterchange.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <memory>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using interchange::Options;

Options formatOf(std::string_view name)
{
    Options options;
    options.format = name;
    return options;
}

/// A host's format that does what its name says.
class HostFormat final : public interchange::Format
{
public:
    explicit HostFormat(std::string_view name)
        : _name(name)
    {
    }
    std::string_view name() const override { return _name == "has-no-name" ? throw std::bad_alloc() : _name; }
    std::vector<std::string_view> extensions() const override
    {
        throwWhereIt("throws-when-asked");
        return {_name};
    }
    bool looksLike(std::string_view first) const override
    {
        throwWhereIt("throws-when-asked");
        return first.starts_with("like " + _name);
    }
    CoSharedPtr<DmRoot> read(interchange::Source&, const Options&, interchange::Report& report) const override
    {
        throwWhereIt("throws");
        if (_name == "says-nothing")
            return {};
        if (_name == "floods")
            for (int i = 0; i < 100007; ++i)
                report.add(interchange::Report::Warning, 1, "again");
        return DmRoot::create();
    }
    bool write(const DmRoot&, interchange::Sink& sink, const Options&, interchange::Report& report) const override
    {
        sink.write("half");
        throwWhereIt("throws");
        if (_name == "says-errors")
            report.add(interchange::Report::Error, 0, "it did not work");
        return _name != "says-nothing";
    }

private:
    void throwWhereIt(std::string_view name) const
    {
        if (_name == name)
            throw 7;
    }

    std::string _name;
};

TEST(Interchange, FormatsAreToldByNameBytesAndExtension)
{
    const auto nameOf = [](const std::shared_ptr<const interchange::Format>& format)
    { return format ? std::string(format->name()) : "none"; };
    EXPECT_EQ(nameOf(interchange::formatNamed("edl")), "edl");
    EXPECT_EQ(nameOf(interchange::formatNamed("EDL")), "none");
    EXPECT_EQ(nameOf(interchange::formatOfPath("/a.b/c.OTIO")), "otio");
    EXPECT_EQ(nameOf(interchange::formatOfPath("/a.otio/c")), "none");
    EXPECT_EQ(nameOf(interchange::formatOfBytes("\xEF\xBB\xBF{ \"DmRoot\": {")), "json");
    EXPECT_EQ(nameOf(interchange::formatOfBytes("{\"OTIO_SCHEMA\": \"Clip.2\"")), "otio");
    EXPECT_EQ(nameOf(interchange::formatOfBytes("\n001 A V C 1:0:0:0 1:0:1:0 2:0:0:0 2:0:1:0\n")), "edl");
    EXPECT_EQ(nameOf(interchange::formatOfBytes("<?xml version=\"1.0\"?>\n<xmeml>\nTITLE: one\n")), "fcp7xml");
    EXPECT_EQ(nameOf(interchange::formatOfBytes("{\"OTIO_SCHEMA\": \"Clip.2\", \"name\": \"<xmeml\"")), "otio")
        << "what was read of another format stands among the metadata";
    EXPECT_EQ(nameOf(interchange::formatOfBytes("GIF89a")), "none");
}

TEST(Interchange, NothingThatAHostsFormatDoesGetsOut)
{
    for (const char* const name : {"edl", "EDL", "a b", "", "has-no-name"})
        EXPECT_FALSE(interchange::registerFormat(std::make_shared<HostFormat>(name))) << name;
    EXPECT_FALSE(interchange::registerFormat(nullptr));

    const CoSharedPtr<DmRoot> root = DmRoot::create();
    for (const auto& [name, onReading, onWriting] : std::vector<std::array<std::string, 3>>{
             {"throws-when-asked", "", ""},
             {"throws", "x: an unknown exception\n", "x: an unknown exception\n"},
             {"says-nothing", "x: it cannot be read as 'says-nothing', which does not say why\n",
              "x: it cannot be written as 'says-nothing', which does not say why\n"},
             {"says-errors", "", "x: it did not work\n"}})
    {
        EXPECT_TRUE(interchange::registerFormat(std::make_shared<HostFormat>(name)));
        const interchange::Reading read = interchange::readBuffer("like", formatOf(name));
        EXPECT_EQ(dmFindingsText("x", read.findings), onReading);
        EXPECT_EQ(static_cast<bool>(read.root), onReading.empty()) << name;

        std::string bytes = "as it was";
        const interchange::Writing written = interchange::writeBuffer(*root, bytes, formatOf(name));
        EXPECT_EQ(dmFindingsText("x", written.findings), onWriting);
        EXPECT_EQ(written.done, onWriting.empty()) << name;
        EXPECT_EQ(bytes, onWriting.empty() ? "half" : "as it was");
    }
    // One that cannot be asked is not in the way of those behind it.
    ASSERT_TRUE(interchange::registerFormat(std::make_shared<HostFormat>("floods")));
    const interchange::Reading read = interchange::readBuffer("like floods");
    ASSERT_EQ(read.findings.size(), 100001U);
    EXPECT_EQ(read.findings.back().text, "7 further messages are left out");
    EXPECT_EQ(interchange::formatOfPath("a.floods"), read.format);
}

TEST(Interchange, StreamsMayThrowAndSayLateThatTheyAreFull)
{
    std::istringstream in("TITLE: T\n");
    in.exceptions(std::ios::badbit | std::ios::failbit | std::ios::eofbit);
    EXPECT_TRUE(interchange::readStream(in).root);

    for (const bool throws : {false, true})
    {
        std::ofstream full("/dev/full");
        if (throws)
            full.exceptions(std::ios::badbit | std::ios::failbit);
        const interchange::Writing written = interchange::writeStream(*DmRoot::create(), full, formatOf("json"));
        EXPECT_FALSE(written.done);
        EXPECT_EQ(dmFindingsText("x", written.findings), "x: the stream cannot be written\n");
        full.exceptions(std::ios::goodbit);
    }
}

} // namespace
