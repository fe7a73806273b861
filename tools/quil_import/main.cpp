// quil-import: turns real recordings into motion traces for quil-replay.
#include <cstdio>
#include <string>
#include <vector>

#include "import_options.h"
#include "importer.h"
#include "trace_writer.h"

namespace {
constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;
}  // namespace

int main(int argc, char** argv)
{
    using namespace Tarvo::Import;
    ImportOptions options;
    std::string error;
    if (!ImportOptions::Parse(std::vector<std::string>(argv + 1, argv + argc), options, error)) {
        std::fprintf(stderr, "quil-import: %s\n(try --help)\n", error.c_str());
        return kExitUsage;
    }
    if (options.help) {
        std::fputs(ImportOptions::Usage(), stdout);
        return kExitOk;
    }
    if (options.version) {
        std::printf("quil-import %s\n", QUIL_VERSION);
        return kExitOk;
    }

    // The trace goes to a temporary file first, so a bad line anywhere leaves standard
    // output empty while memory stays flat however long the recording is.
    std::FILE* spool = std::tmpfile();
    if (spool == nullptr) {
        std::fprintf(stderr, "quil-import: cannot create a temporary file\n");
        return kExitFailure;
    }
    Tarvo::Tools::TraceWriter writer(spool);
    Importer importer(options, writer, stderr);
    if (!importer.Run(error)) {
        std::fclose(spool);
        std::fprintf(stderr, "quil-import: %s\n", error.c_str());
        return writer.Ok() ? kExitUsage : kExitFailure;
    }
    std::rewind(spool);
    char buffer[1 << 16];
    size_t got = 0;
    while ((got = std::fread(buffer, 1, sizeof buffer, spool)) > 0) {
        if (std::fwrite(buffer, 1, got, stdout) != got) {
            std::fclose(spool);
            std::fprintf(stderr, "quil-import: cannot write standard output\n");
            return kExitFailure;
        }
    }
    std::fclose(spool);
    return std::fflush(stdout) == 0 ? kExitOk : kExitFailure;
}
