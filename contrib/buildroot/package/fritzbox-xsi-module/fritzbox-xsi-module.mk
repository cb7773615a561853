# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

################################################################################
#
# fritzbox-xsi-module
#
################################################################################

# The checkout this external tree lies in (BR2_EXTERNAL=<checkout>/contrib/buildroot); a product
# that takes a pinned release sets _SITE, _SITE_METHOD = git and _VERSION = <commit> instead, and
# adds the archive's hash to the .hash file.
FRITZBOX_XSI_MODULE_VERSION = 1.0
FRITZBOX_XSI_MODULE_SITE = $(BR2_EXTERNAL_FRITZBOX_XSI_PATH)/../..
FRITZBOX_XSI_MODULE_SITE_METHOD = local
FRITZBOX_XSI_MODULE_LICENSE = MIT
FRITZBOX_XSI_MODULE_LICENSE_FILES = LICENSE
FRITZBOX_XSI_MODULE_INSTALL_STAGING = YES
FRITZBOX_XSI_MODULE_SUPPORTS_IN_SOURCE_BUILD = NO

# The module alone (nothing but the toolchain needed), size-optimised instead of the Release that
# Buildroot passes: only MinSizeRel stays within the phone's 48 KiB of flash. Debug information
# comes from BR2_ENABLE_DEBUG's -g in the toolchain's flags. The hardening is left to Buildroot's
# BR2_SSP_*, BR2_FORTIFY_SOURCE_* and BR2_RELRO_*. The platform symbols are the service's and stay
# undefined in the library: never link it with -Wl,-z,defs.
FRITZBOX_XSI_MODULE_CONF_OPTS = -DFRITZBOX_MODULE_ONLY=ON -DFRITZBOX_HARDENING=OFF -DCMAKE_BUILD_TYPE=MinSizeRel

# The platform ABI probe and the conformance kit's sources are for building against the module in
# staging, not for the phone's flash.
define FRITZBOX_XSI_MODULE_REMOVE_KIT_FROM_TARGET
	rm -rf $(TARGET_DIR)/usr/share/fritzbox-xsi-module
endef
FRITZBOX_XSI_MODULE_POST_INSTALL_TARGET_HOOKS += FRITZBOX_XSI_MODULE_REMOVE_KIT_FROM_TARGET

$(eval $(cmake-package))
