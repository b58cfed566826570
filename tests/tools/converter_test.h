// Helpers for the tests of the whole program: a scratch folder for runs, and the output of every run.
#pragma once

#include "tests/support/run_program.h"
#include "tests/support/test_bytes.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// The banner, which a run prints first. The notice at its end is read from the program.
const std::string& banner();

/// The usage screen.
std::string usageScreen();

/// A command line for messages.
std::string commandLineOf(const std::string& program, const std::vector<std::string>& arguments);

/// Runs the converter in an empty folder, which is removed after the test. Names are relative to it.
class ConverterTest : public testing::Test {
protected:
    ConverterTest();
    ~ConverterTest() override;

    ProgramOutcome run(const std::vector<std::string>& arguments,
                       const ProgramSurroundings& surroundings = {}) const;

    /// Run the converter with each kind of end, and compare standard output and error to the byte.
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
