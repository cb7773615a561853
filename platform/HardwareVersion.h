#pragma once

// Which phone model the software runs on.
class HardwareVersion {
public:
    static bool is_Tern();
    // Any variant of the Gull model.
    static bool is_Gull_any();
    // Any variant of the Wren model.
    static bool is_Wren_any();
};
