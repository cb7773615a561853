// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "LogTap.h"

#include <fstream>
#include <iterator>

#include "Adapter.h"

namespace conformance {

namespace {

std::string fileText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace

LogTap::LogTap(Adapter& adapter, std::string file)
    : m_adapter(adapter), m_fromAdapter(adapter.captureLog()), m_file(m_fromAdapter ? "" : std::move(file)) {}

void LogTap::begin() {
    if (m_fromAdapter) {
        m_adapterMark = m_adapter.capturedLog().size();
    } else if (!m_file.empty()) {
        m_fileMark = static_cast<long long>(fileText(m_file).size());
    }
}

std::string LogTap::text() const {
    const std::string all = m_fromAdapter ? m_adapter.capturedLog() : m_file.empty() ? "" : fileText(m_file);
    const std::size_t mark = m_fromAdapter ? m_adapterMark : static_cast<std::size_t>(m_fileMark);
    return all.size() > mark ? all.substr(mark) : "";
}

}  // namespace conformance
