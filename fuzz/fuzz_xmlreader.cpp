// Feeds arbitrary bytes to the XML file reader: it either raises XMLException or gives
// elements, and what it gives is written and read back unchanged.
#include <vexapi/orvcpp/xmlutils.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

using namespace XMLUtils;
namespace fs = std::filesystem;

namespace {

void check(bool ok)
{
    if (!ok)
        std::abort();
}

bool same(XMLElementA& a, XMLElementA& b)
{
    if (std::strcmp(a.name(), b.name()) != 0 || std::strcmp(a.value(), b.value()) != 0)
        return false;
    if (a.attributes().size() != b.attributes().size() ||
        a.elements().size() != b.elements().size())
        return false;
    for (auto i = a.attributes().begin(), j = b.attributes().begin(); i != a.attributes().end();
         ++i, ++j)
        if (std::strcmp(i->name(), j->name()) != 0 || std::strcmp(i->value(), j->value()) != 0)
            return false;
    for (auto i = a.elements().begin(), j = b.elements().begin(); i != a.elements().end(); ++i, ++j)
        if (!same(*i, *j))
            return false;
    return true;
}

const fs::path& folder()
{
    static const fs::path dir = [] {
        fs::path d = fs::temp_directory_path() / ("vexapi-fuzz-xml-" + std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
        fs::create_directories(d);
        return d;
    }();
    return dir;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fs::path in = folder() / "in.xml";
    const fs::path again = folder() / "again.xml";
    {
        std::ofstream out(in, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), std::streamsize(size));
    }
    ListOf<XMLElementA> first;
    XMLEncoding encoding;
    try {
        XMLFILEReaderA reader;
        reader.create(in.string<WChar>().c_str());
        reader.read(first);
        encoding = reader.encoding();
    } catch (const XMLException&) {
        return 0;
    }
    (void)encoding;
    try {
        XMLFILEWriterA writer;
        writer.create(again.string<WChar>().c_str(), XMLEncodingUTF8);
        writer.write(first);
    } catch (const XMLExceptionWithData&) {
        return 0; // a name that the reader took but that isn't a valid XML name
    }
    XMLFILEReaderA reader;
    reader.create(again.string<WChar>().c_str()); // must not throw: it was written by us
    ListOf<XMLElementA> second;
    reader.read(second);
    check(first.size() == second.size());
    for (auto i = first.begin(), j = second.begin(); i != first.end(); ++i, ++j)
        check(same(*i, *j));
    return 0;
}
