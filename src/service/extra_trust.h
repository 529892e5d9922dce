#pragma once

namespace brightloom {

// Adds the certificates of the PEM file named by BRIGHTLOOM_CA_FILE to the system's trusted roots
// for every connection this process makes. Safe to call more than once; later calls do nothing.
void applyExtraTrust();

} // namespace brightloom
