/// Writes the documents of examples/documents: edits as applications make them, through the public interface alone.
///
///     makeDocuments DIRECTORY
#include "editing.h"

#include <exception>
#include <iostream>

namespace
{

constexpr struct
{
    const char* file;
    CoSharedPtr<DmRoot> (*make)();
} documents[] = {
    {"commercial-25.json", examples::makeCommercial},
    {"news-29.97df.json", examples::makeNews},
    {"feature-23.976.json", examples::makeFeature},
    {"commercial-with-mistakes.json", examples::makeCommercialWithMistakes},
};

} // namespace

int main(int argc, char** argv)
try
{
    if (argc != 2)
    {
        std::cerr << "usage: makeDocuments DIRECTORY\n";
        return 2;
    }
    for (const auto& [file, make] : documents)
    {
        const std::string path = std::string(argv[1]) + '/' + file;
        const DmStatus status = DmTreeJsonBuilder::generate(make(), path.c_str(), DmTreeJsonBuilder::Layout::Pretty);
        if (status.failed())
            throw std::runtime_error(path + ": " + dmUtf8(status.info()));
    }
    return 0;
}
catch (const std::exception& error)
{
    std::cerr << "makeDocuments: " << error.what() << '\n';
    return 1;
}
