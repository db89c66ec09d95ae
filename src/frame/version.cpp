// SPDX-License-Identifier: Apache-2.0
// The version query.
#include "../core/zelcore_own.h"
#include "zelsr.h"

namespace {

// The two records differ only in the Name: "+" marks the faster path.
constexpr ZelLibraryVersion kVersion = {6, 0, 167, 651, {'p', '8', 0, 0}, "zelsrp8-6.0.dll", "6.0 build 167.26", "Sep 25 2008"};
constexpr ZelLibraryVersion kVersionFast = {6, 0, 167, 651, {'p', '8', 0, 0}, "zelsrp8-6.0.dll+", "6.0 build 167.26", "Sep 25 2008"};

}  // namespace

extern "C" ZELSR_API const ZelLibraryVersion* zelsrGetLibVersion(void) {
    return ownGetFeature(zelFeatureSSE41) ? &kVersionFast : &kVersion;
}
