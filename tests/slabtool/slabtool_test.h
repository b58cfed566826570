// The base of the slabtool tests: runs both programs in a scratch folder.
#pragma once

#include "tests/tools/converter_test.h"

#include <string>
#include <vector>

/// Runs of slabtool; `run` is the converter's.
class SlabtoolTest : public ConverterTest {
protected:
    ProgramOutcome tool(const std::vector<std::string>& arguments,
                        const ProgramSurroundings& surroundings = {}) const;

    /// Expects these errors of a run with an address space limit in bytes.
    void expectErrorsWithin(uint64_t addressSpace, const std::string& errors,
                            const std::vector<std::string>& arguments) const;

    /// Runs a shell command line, in which slabtool is on the PATH.
    ProgramOutcome shell(const std::string& commands) const;

    /// Expects the exit status and both outputs of a run.
    void expectTool(int exitStatus, const std::string& output, const std::string& errors,
                    const std::vector<std::string>& arguments) const;

    /// Converts an image with pngslab to a surface file of that name. Expects success.
    byte_vector makeSurface(const std::string& name, const byte_vector& image,
                            const std::vector<std::string>& options = {}) const;

    /// Whether pngslab accepts the image with these options.
    bool converterAccepts(const byte_vector& image,
                          const std::vector<std::string>& options = {}) const;
};
