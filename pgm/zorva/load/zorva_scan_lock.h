// A load's part in the lock of a directory.
#pragma once

#include "pgm/zorva/store/zorva_replace.h"
#include "services/file.h"

#include <optional>
#include <string>

// Held to the end of a scan, so that no change moves a device from a file that is still to be read
// to one that has been. Others may load meanwhile. A scan that doesn't get the lock within two
// seconds goes on without.
class ZORVA_SCAN_LOCK {
  public:
    // Finishes what a broken-off change has left, if no other process works on the directory.
    ZORVA_SCAN_LOCK(const ZORVA_INTERFACE& interface, const std::string& directory);

    // What a broken-off change has left all the same, for the scan to pass over.
    const ZORVA_LEFTOVER& leftover() const { return m_leftover; }

  private:
    void share();
    void finish(const ZORVA_INTERFACE& interface);

    std::string m_directory;
    std::optional<FIO_DIRECTORY_LOCK> m_lock;
    ZORVA_LEFTOVER m_leftover;
};
