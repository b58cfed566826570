// The base of the tests of slabtool convert.
#pragma once

#include "tests/slabtool/slabtool_test.h"

/// Runs of slabtool convert.
class ConvertTest : public SlabtoolTest {
protected:
    /// Converts an image with slabtool.
    byte_vector convert(const byte_vector& image,
                        const std::vector<std::string>& options = {}) const {
        write("in.png", image);
        std::vector<std::string> arguments = {"convert", "in.png", "out.surface", "--quiet"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        expectTool(0, "", "", arguments);
        return read("out.surface");
    }

    /// Writes a file, and creates its folder.
    void write(const std::string& name, const byte_vector& bytes) const {
        std::filesystem::create_directories(path(name).parent_path());
        SlabtoolTest::write(name, bytes);
    }

    std::string summaryOf(const std::vector<std::string>& arguments) const {
        const std::string output = tool(arguments).output;
        return output.substr(output.find("converted "));
    }
};
