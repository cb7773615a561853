#pragma once
#include <stdexcept>
#include <string>

// Base of the exceptions that the host platform throws.
class GPALException : public std::runtime_error {
public:
    explicit GPALException(const std::string& message) : std::runtime_error(message) {}
};
