// What the tests of the whole program share: a scratch folder to run in, and what every run prints.
#pragma once

#include "tests/support/run_program.h"
#include "tests/support/test_bytes.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// What a run prints first; its last words are the maker's own, learned from the program.
const std::string& banner();

/// What a run prints about its options.
std::string usageScreen();

/// A command line for messages.
std::string commandLineOf(const std::string& program, const std::vector<std::string>& arguments);

/// Runs of the converter in an empty folder that goes with the test. Names are relative to it.
class ConverterTest : public testing::Test {
protected:
    ConverterTest();
    ~ConverterTest() override;

    ProgramOutcome run(const std::vector<std::string>& arguments,
                       const ProgramSurroundings& surroundings = {}) const;

    /// Runs that end in every way there is; standard output and error are compared to the byte.
    void expectHelp(const std::vector<std::string>& arguments) const;
    void expectSuccess(const std::vector<std::string>& arguments, const std::string& imagePath,
                       size_t size) const;
    void expectUsageError(const std::vector<std::string>& arguments,
                          const std::string& message) const;
    void expectError(const std::vector<std::string>& arguments, const std::string& message) const;
    void expectAbnormalEnd(const std::vector<std::string>& arguments) const;

    std::filesystem::path path(const std::string& name) const { return mFolder / name; }
    void write(const std::string& name, const byte_vector& bytes) const;
    byte_vector read(const std::string& name) const;
    bool exists(const std::string& name) const;

private:
    void expectOutcome(int exitStatus, const std::string& output,
                       const std::vector<std::string>& arguments) const;

    std::filesystem::path mFolder;
};
