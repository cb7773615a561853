# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

SUMMARY = "FritzBox router client module for a desk phone's Broadsoft service"
DESCRIPTION = "A plug-in library for the phone's Broadsoft service: it takes the call logs and the \
personal directory from a FritzBox home router and rewrites them as BroadWorks XSI documents. The \
phone's platform (HTTP, hashing, files, logging, call items) is the service's: the library leaves \
those symbols undefined."
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=3ef3e1a9b89537d41016b5ad338cb6a0"

# By default the newest commit of the checkout this layer lies in; a product pins its own source
# and commit (local.conf or a .bbappend): FRITZBOX_XSI_GIT = "git://...;protocol=https;branch=main"
# and SRCREV = "<commit>".
FRITZBOX_XSI_GIT ??= "git://${FRITZBOX_XSI_CHECKOUT};protocol=file;branch=main"
SRC_URI = "${FRITZBOX_XSI_GIT}"
SRCREV ??= "${AUTOREV}"
PV = "1.0+git${SRCPV}"
S = "${WORKDIR}/git"

inherit cmake

# The module alone: no test suite, programs or Linux platform, so nothing but the toolchain is
# needed (no GoogleTest, CLI11, cpp-httplib or Nettle). No build type is passed, so the module-only
# build is MinSizeRel with link-time optimisation: the one within the phone's 48 KiB of flash.
# FRITZBOX_HARDENING=OFF leaves the hardening to the distribution's security flags.
# The platform symbols are the service's and stay undefined in the library: never link this
# recipe with -Wl,-z,defs or -Wl,--no-undefined.
EXTRA_OECMAKE = "-DFRITZBOX_MODULE_ONLY=ON -DFRITZBOX_HARDENING=OFF"

# ${PN}: the library. ${PN}-dev (the class's defaults): headers, the .so link, the CMake package,
# the .pc. ${PN}-kit: what a firmware team builds against its own platform, the platform ABI probe
# with its baselines and the conformance kit's sources. ${PN}-doc: the licence and the bill of
# materials (SPDX).
PACKAGE_BEFORE_PN = "${PN}-kit"
SUMMARY:${PN}-kit = "Checks of a phone platform against the FritzBox XSI module: ABI probe and conformance kit"
FILES:${PN}-kit = "${datadir}/fritzbox-xsi-module"
RDEPENDS:${PN}-kit = "${PN}-dev"
