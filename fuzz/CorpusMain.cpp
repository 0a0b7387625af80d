// Replays a fuzz target's corpus without libFuzzer: every file given, or under a directory given,
// is passed once to LLVMFuzzerTestOneInput. A failing input aborts, so the test fails.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv) __attribute__((weak));

int main(int argc, char *argv[])
{
    if (LLVMFuzzerInitialize)
        LLVMFuzzerInitialize(&argc, &argv);
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < argc; ++i) {
        if (std::filesystem::is_directory(argv[i]))
            files.insert(files.end(), std::filesystem::recursive_directory_iterator(argv[i]), {});
        else
            files.push_back(argv[i]);
    }
    int replayed = 0;
    for (const auto &file : files) {
        if (!std::filesystem::is_regular_file(file))
            continue;
        std::ifstream in(file, std::ios::binary);
        const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
        ++replayed;
    }
    std::printf("replayed %d inputs\n", replayed);
    return replayed > 0 ? 0 : 1;
}
