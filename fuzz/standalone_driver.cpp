// Runs a fuzz target without libFuzzer: every file of the corpus directories given as
// arguments, then a fixed series of pseudo-random inputs. Same inputs on every run.
#include <dirent.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {
constexpr int kRandomInputs = 2000;
constexpr size_t kMaxInputBytes = 512;

int RunCorpus(const std::string& dir)
{
    int runs = 0;
    DIR* handle = opendir(dir.c_str());
    if (handle == nullptr) {
        return 0;
    }
    while (dirent* entry = readdir(handle)) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..") {
            continue;
        }
        std::ifstream file(dir + "/" + name, std::ios::binary);
        const std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                                      std::istreambuf_iterator<char>());
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
        ++runs;
    }
    closedir(handle);
    return runs;
}
}  // namespace

int main(int argc, char** argv)
{
    int runs = 0;
    for (int i = 1; i < argc; ++i) {
        runs += RunCorpus(argv[i]);
    }
    std::mt19937 random(20261122);
    std::vector<uint8_t> input;
    for (int i = 0; i < kRandomInputs; ++i) {
        input.resize(random() % (kMaxInputBytes + 1));
        for (uint8_t& byte : input) {
            byte = static_cast<uint8_t>(random());
        }
        LLVMFuzzerTestOneInput(input.data(), input.size());
        ++runs;
    }
    std::printf("%d inputs run\n", runs);
    return 0;
}
