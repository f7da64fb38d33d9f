// Prints what this build makes of text and of damaged inputs, a line each, to be compared with another build.
#include "differential/comparison.h"

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <vector>

namespace {

constexpr const char* usage =
    "usage: nvutil_comparison text SEED OUT\n"
    "       nvutil_comparison inputs SEED COUNT SEEDS SCRATCH OUT [--only N --save FILE]\n";

std::uint64_t NumberOf(const std::string& text) {
    return std::strtoull(text.c_str(), nullptr, 10);
}

}  // namespace

int main(int count, char** texts) {
    const std::vector<std::string> arguments(texts + 1, texts + count);
    if (arguments.size() == 3 && arguments[0] == "text") {
        std::ofstream out(arguments[2], std::ios::binary);
        comparison::WriteText(NumberOf(arguments[1]), out);
        return out.good() ? 0 : 1;
    }
    if ((arguments.size() == 6 || arguments.size() == 10) && arguments[0] == "inputs") {
        comparison::InputsOptions options;
        options.seed = NumberOf(arguments[1]);
        options.count = NumberOf(arguments[2]);
        options.seeds = arguments[3];
        options.scratch = arguments[4];
        if (arguments.size() == 10) {
            options.only = NumberOf(arguments[7]);
            options.save = arguments[9];
        }
        std::ofstream out(arguments[5], std::ios::binary);
        comparison::WriteInputs(options, out);
        return out.good() ? 0 : 1;
    }
    std::cerr << usage;
    return 2;
}
