// quil-import: turns real recordings into motion traces for quil-replay.
#include <cstdio>
#include <string>
#include <vector>

#include "exit_codes.h"
#include "import_options.h"
#include "importer.h"
#include "option_parser.h"
#include "trace_writer.h"

int main(int argc, char** argv)
{
    using namespace Tarvo::Import;
    using namespace Tarvo::Tools;
    ImportOptions options;
    std::string error;
    const bool parsed =
        ImportOptions::Parse(std::vector<std::string>(argv + 1, argv + argc), options, error);
    if (auto done = AnswerCommandLine("quil-import", parsed, error, options.help, options.version,
                                      ImportOptions::Usage())) {
        return *done;
    }

    // The trace goes to a temporary file first, so a bad line anywhere leaves standard
    // output empty while memory stays flat however long the recording is.
    std::FILE* spool = std::tmpfile();
    if (spool == nullptr) {
        std::fprintf(stderr, "quil-import: cannot create a temporary file\n");
        return kExitFailure;
    }
    TraceWriter writer(spool);
    Importer importer(options, writer, stderr);
    const bool imported = importer.Run(error);
    if (!imported) {
        std::fprintf(stderr, "quil-import: %s\n", error.c_str());
    }
    const int status = !imported ? (writer.Ok() ? kExitUsage : kExitFailure)
                       : TraceWriter::Copy(spool, stdout) ? kExitOk
                                                          : kExitFailure;
    std::fclose(spool);
    if (imported && status != kExitOk) {
        std::fprintf(stderr, "quil-import: cannot write standard output\n");
    }
    return status;
}
