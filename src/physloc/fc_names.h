#pragma once

#include <istream>
#include <string>
#include <string_view>

/// Readers of what two host commands tell about Fibre Channel adapters, line by line. Pure: no log,
/// no lock; any thread.

/// Which command's lines a reader takes.
enum FC_LINES {
    FC_LINES_TOPOLOGY, ///< "Address: ", then "VMkernel Name:" with a name that begins with "v"
    FC_LINES_NODES,    ///< "Adapter: ", then "Node Name:"
};

/// Puts the two halves of each adapter together. A half may be replaced until the other comes.
class orbFcPairReader {
public:
    enum STEP {
        FOREIGN, ///< the very first line isn't the first half of anything: the rest isn't either
        PART,    ///< one of the halves is missing
        PAIR,    ///< both halves are there; the next line begins anew
    };

    explicit orbFcPairReader(FC_LINES which) : lines(which) {}
    STEP read(std::string_view line);
    const std::string &first() const { return firstHalf; }   ///< PCI address or adapter
    const std::string &second() const { return secondHalf; } ///< adapter or node name

private:
    FC_LINES lines;
    bool atStart = true, complete = false;
    std::string firstHalf, secondHalf;
};

/// Takes the next line, without its newline. Of a longer one the first 4096 bytes are kept.
/// @return false at the end
bool read_fc_line(std::istream &in, std::string &line);
