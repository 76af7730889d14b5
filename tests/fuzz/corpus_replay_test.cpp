// Replays every input kept for one fuzz target (its seeds and the
// regression_* inputs of past crashes) through the target itself, so that
// every build of the suite, sanitizer builds included, checks them. A
// violated property aborts the test with the property and the input's name.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/sandbox.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::vector<std::filesystem::path> KeptInputs()
{
    std::vector<std::filesystem::path> inputs;
    for (const auto& entry : std::filesystem::directory_iterator(ZEPTA_FUZZ_CORPUS)) {
        if (entry.is_regular_file()) inputs.push_back(entry.path());
    }
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

// Named after the target, for example LanDiscoveryCorpus.
class ZEPTA_FUZZ_SUITE : public zepta_test::SandboxedTest {};

TEST_F(ZEPTA_FUZZ_SUITE, EveryKeptInputKeepsTheTargetsProperties)
{
    const std::vector<std::filesystem::path> inputs = KeptInputs();
    ASSERT_FALSE(inputs.empty()) << "no inputs in " << ZEPTA_FUZZ_CORPUS;
    for (const auto& path : inputs) {
        std::fprintf(stderr, "replaying %s\n", path.filename().c_str());
        std::ifstream file(path, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
}

}  // namespace
