// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The facts of the platform's own headers: this file is compiled with them first on its include
// path (FRITZBOX_PLATFORM_HEADERS); without them, with the installed ones.
#define HEADER_FACTS_FUNCTION platformHeaderFacts
#include "HeaderFacts.inc"
