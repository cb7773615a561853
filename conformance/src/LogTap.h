// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Where a check reads what the platform's logging wrote: the adapter's capture when it offers
// one, else a file the lines are appended to (the check's own stderr with --log-from stderr, or
// the file --log-from names).
#include <string>

namespace conformance {

class Adapter;

class LogTap {
public:
    // `file` empty: the adapter's capture only.
    LogTap(Adapter& adapter, std::string file);
    // Whether any source is there; the log checks skip without one.
    bool available() const { return m_fromAdapter || !m_file.empty(); }
    // Forgets what was written so far.
    void begin();
    // What was written since begin().
    std::string text() const;

private:
    Adapter& m_adapter;
    bool m_fromAdapter;
    std::string m_file;
    std::size_t m_adapterMark = 0;
    long long m_fileMark = 0;
};

}  // namespace conformance
