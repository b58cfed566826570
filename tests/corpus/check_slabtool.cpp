// Compares slabtool with pngslab and libpng for every PNG file below a folder. `check` must have pngslab's verdict.
// If libpng reads an image, pngslab must accept the result of `prepare`, with the same pixels. `convert` must write
// the file that pngslab writes, after `prepare` if pngslab rejects the image. Not a part of the test suite, which has
// no such images.
//
//     check_slabtool FOLDER
#include "tests/corpus/corpus_run.h"
#include "tests/support/png_oracle.h"
#include "tests/support/run_program.h"
#include "tools/slabtool/images/png_facts.h"
#include "tools/slabtool/runs/image_to_surface.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;

constexpr uint64_t kMaxPixels = ConversionRequest().maxPixels;

// A temporary folder for the output of the programs.
class scratch_folder {
public:
    scratch_folder() {
        std::string name = (fs::temp_directory_path() / "pngslab-corpus-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no scratch folder");
        }
        m_path = name;
    }
    scratch_folder(const scratch_folder&) = delete;
    scratch_folder& operator=(const scratch_folder&) = delete;
    ~scratch_folder() { fs::remove_all(m_path); }

    std::string file(const char* name) const { return (m_path / name).string(); }

private:
    fs::path m_path;
};

bool succeeds(const std::string& program, const std::vector<std::string>& arguments) {
    const ProgramOutcome outcome = runProgram(program, arguments, "/");
    if (outcome.exitStatus != 0 && outcome.exitStatus != 1) {
        throw std::runtime_error(program + " ended abnormally on " + arguments[1] + ": " +
                                 outcome.errors);
    }
    return outcome.exitStatus == 0;
}

class slabtool_judge {
public:
    corpus_verdict_t operator()(const fs::path& image) const {
        const std::string path = fs::absolute(image).string();
        const bool is_accepted = converts(path);
        if (is_accepted != succeeds(PNGSLAB_SLABTOOL, {"check", path})) {
            return {"check and pngslab DISAGREE", true};
        }
        const std::string before = is_accepted ? "accepted before" : "rejected before";
        if (!is_converted_alike(path, is_accepted)) {
            return {before + ", and convert and pngslab DISAGREE", true};
        }
        for (const bool with_alpha : {false, true}) {
            const corpus_verdict_t verdict = prepare(path, with_alpha);
            if (verdict.is_failure || with_alpha) {
                return {before + ", " + verdict.words, verdict.is_failure};
            }
        }
        return {};
    }

private:
    // Images above --max-pixels are left out: convert rejects them.
    bool is_converted_alike(const std::string& path, bool is_accepted) const {
        const std::string ours = m_scratch.file("converted.surface");
        fs::remove(ours);
        if (factsOf(read_file(path)).pixels() > kMaxPixels) {
            return true;
        }
        const bool is_converted = succeeds(PNGSLAB_SLABTOOL, {"convert", "--quiet", path, ours});
        bool is_expected = is_accepted;
        if (!is_accepted) {
            const std::string fixed = m_scratch.file("fixed.png");
            is_expected = succeeds(PNGSLAB_SLABTOOL, {"prepare", path, fixed}) && converts(fixed);
        }
        return is_converted == is_expected &&
               (!is_expected || read_file(ours) == read_file(m_scratch.file("image.surface")));
    }

    bool converts(const std::string& path) const {
        return succeeds(PNGSLAB_PROGRAM,
                        {"--image", path, "--output", m_scratch.file("image.surface")});
    }

    corpus_verdict_t prepare(const std::string& path, bool with_alpha) const {
        const std::string output = m_scratch.file("prepared.png");
        std::vector<std::string> arguments = {"prepare", path, output};
        if (with_alpha) {
            arguments.emplace_back("--key-to-alpha");
        }
        const auto expected =
            oracle_decode_png(read_file(path), with_alpha ? oracle_reading::with_key_alpha
                                                          : oracle_reading::as_8_bits);
        if (succeeds(PNGSLAB_SLABTOOL, arguments) != expected.has_value()) {
            return {"prepare and libpng DISAGREE", true};
        }
        if (!expected) {
            return {"rejected by libpng", false};
        }
        if (!converts(output)) {
            return {"prepared, and STILL REJECTED", true};
        }
        const auto prepared = oracle_decode_png(read_file(output));
        if (!prepared || prepared->pixels != expected->pixels ||
            prepared->palette != palette_of(*expected)) {
            return {"prepared, and DIFFERENT", true};
        }
        return {"prepared, equal, accepted", false};
    }

    // Truecolor images lose their palette.
    static byte_vector palette_of(const oracle_image_t& image) {
        const bool is_indexed = image.pixels.size() == size_t{image.width} * image.height;
        return is_indexed ? image.palette : byte_vector();
    }

    scratch_folder m_scratch;
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::puts("usage: check_slabtool FOLDER");
        return 2;
    }
    const slabtool_judge judge;
    return run_on_corpus(argv[1], std::cref(judge));
}
