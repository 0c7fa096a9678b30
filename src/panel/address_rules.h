#pragma once

#include "panel/address_editor.h"

namespace sim {

// The addresses the panel holds as not assignable to a device: the limited broadcast, the unspecified
// address and two blocks of reserved multicast addresses. The check is ready to be called; nothing in
// the running panel calls it, and the leaving tests of the boxes keep all but 0.0.0.0 out already.
class AddressRules {
public:
    explicit AddressRules(Dialogs& dialogs) : dialogs_(dialogs) {}

    // Compares the four boxes of obj, joined with three dots, as text with the list. On a match the
    // operator is told, and box index is selected, focused and emptied.
    void Address_chk(const AddressBoxes& obj, int index);

private:
    Dialogs& dialogs_;
};

} // namespace sim
