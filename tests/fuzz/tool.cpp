// SPDX-License-Identifier: Apache-2.0
// Runs a target on files, and makes seeds:
//   fuzz_tool replay TARGET PATH...      each file, and each file of a folder
//   fuzz_tool seeds DIR                  DIR/TARGET/..., and DIR/TARGET.dict
//   fuzz_tool mutate TARGET COUNT SEED   seeds, changed COUNT times
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "runtime/base/file.h"
#include "tests/fuzz/mutate.h"
#include "tests/fuzz/seeds.h"
#include "tests/fuzz/targets.h"

namespace {

namespace fs = std::filesystem;
using namespace tarnbase::fuzz;

std::vector<u8> read_file(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void write_file(const fs::path &path, Bytes bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char *>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    if (!out) throw std::runtime_error("cannot write " + path.string());
}

// A file with the input that is being tested, which a crash leaves. It stays open: to make a file
// anew for each input takes a tenth of the time.
class InputFile {
 public:
    explicit InputFile(fs::path path)
        : path_(std::move(path)),
          file_(::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
        if (!file_.is_open()) throw std::runtime_error("cannot write " + path_.string());
    }
    void write(Bytes bytes) {
        const auto size = static_cast<ssize_t>(bytes.size());
        if (::pwrite(file_.descriptor(), bytes.data(), bytes.size(), 0) != size ||
            (size < size_ && ::ftruncate(file_.descriptor(), size) != 0)) {
            throw std::runtime_error("cannot write " + path_.string());
        }
        size_ = size;
    }
    void remove() const { fs::remove(path_); }

 private:
    fs::path path_;
    tarnbase::runtime::File file_;
    ssize_t size_ = 0;
};

// The files at a path, in the order of their names.
std::vector<fs::path> files_at(const fs::path &path) {
    if (!fs::is_directory(path)) return {path};
    std::vector<fs::path> files;
    for (const fs::directory_entry &entry : fs::directory_iterator(path)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::ranges::sort(files);
    return files;
}

// Prints each file's name first, so that a crash can be attributed to it.
int replay(const Target &target, const std::vector<std::string> &paths) {
    std::size_t count = 0;
    for (const std::string &path : paths) {
        for (const fs::path &file : files_at(path)) {
            std::printf("%s\n", file.c_str());
            std::fflush(stdout);
            target.run(read_file(file));
            ++count;
        }
    }
    std::printf("%zu inputs\n", count);
    return count == 0 ? 1 : 0;
}

int write_seeds(const fs::path &folder) {
    for (const Target &target : targets) {
        const fs::path name(target.name);
        fs::create_directories(folder / name);
        make_seeds(target, [&](const std::string &seed, Bytes bytes) {
            write_file(folder / name / seed, bytes);
        });
        const std::string words = make_dictionary(target);
        write_file(folder / (name.string() + ".dict"),
                   {reinterpret_cast<const u8 *>(words.data()), words.size()});
    }
    return 0;
}

// Fuzzing without libFuzzer, for any compiler: changes seeds again and again. The input
// that breaks a promise remains in the file.
int mutate(const Target &target, u32 count, u32 seed) {
    constexpr std::size_t longest = 8192;
    constexpr u32 changes_a_seed = 6;
    InputFile left(std::string(target.name) + "_" + std::to_string(seed));
    std::vector<std::vector<u8>> seeds;
    make_seeds(target, [&](const std::string &, Bytes bytes) {
        seeds.emplace_back(bytes.begin(), bytes.end());
    });
    Random random(seed);
    const auto change_any = [&](std::vector<u8> &bytes) { mutate_bytes(bytes, random); };
    std::vector<u8> input;
    for (u32 i = 0; i < count; ++i) {
        if (i % changes_a_seed == 0) input = seeds[random.below(static_cast<u32>(seeds.size()))];
        if (target.run == fuzz_frame) {
            mutate_stream(input, longest, random, change_any);
        } else {
            mutate_bytes(input, random);
        }
        input.resize(std::min(input.size(), longest));
        left.write(input);
        target.run(input);
    }
    left.remove();
    std::printf("%u inputs\n", count);
    return 0;
}

int run(const std::vector<std::string> &arguments) {
    if (arguments.size() == 2 && arguments[0] == "seeds") return write_seeds(arguments[1]);
    for (const Target &target : targets) {
        if (arguments.size() < 3 || arguments[1] != target.name) continue;
        if (arguments[0] == "replay") {
            return replay(target, {arguments.begin() + 2, arguments.end()});
        }
        if (arguments[0] == "mutate" && arguments.size() == 4) {
            return mutate(target, static_cast<u32>(std::stoul(arguments[2])),
                          static_cast<u32>(std::stoul(arguments[3])));
        }
    }
    std::fprintf(stderr,
                 "usage: fuzz_tool replay TARGET PATH...\n"
                 "       fuzz_tool seeds DIR\n"
                 "       fuzz_tool mutate TARGET COUNT SEED\n");
    return 2;
}

}  // namespace

int main(int count, char **words) try {
    return run({words + 1, words + count});
} catch (const std::exception &failure) {
    std::fprintf(stderr, "fuzz_tool: %s\n", failure.what());
    return 2;
}
