// What the tests of slabtool share: both programs in a scratch folder.
#pragma once

#include "tests/tools/converter_test.h"

#include <string>
#include <vector>

/// Runs of slabtool; `run` is the converter's.
class SlabtoolTest : public ConverterTest {
protected:
    ProgramOutcome tool(const std::vector<std::string>& arguments,
                        const ProgramSurroundings& surroundings = {}) const;

    /// Expects the error of a run that may have no more than this much memory.
    void expectErrorsWithin(uint64_t addressSpace, const std::string& errors,
                            const std::vector<std::string>& arguments) const;

    /// A shell's command line that knows slabtool.
    ProgramOutcome shell(const std::string& commands) const;

    /// Expects a run that ends like this; standard error is compared to the byte too.
    void expectTool(int exitStatus, const std::string& output, const std::string& errors,
                    const std::vector<std::string>& arguments) const;

    /// Converts an image, which must succeed, to a surface file of that name. Options come last.
    byte_vector makeSurface(const std::string& name, const byte_vector& image,
                            const std::vector<std::string>& options = {}) const;

    /// Whether pngslab takes the image, with these options.
    bool converterTakes(const byte_vector& image,
                        const std::vector<std::string>& options = {}) const;
};
