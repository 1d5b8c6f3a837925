// Where an adapter sits on the PCI bus.
#pragma once

#include <windows.h>

// Bits 16 to 23 of the slot word are the bus, 11 to 15 the device, 8 to 10 the function.
struct PciSlot {
    ULONG ulSlot = 0;
    ULONG ulReserved = 0;

    void SetBus(ULONG ulBus) { ulSlot |= (ulBus & 0xFF) << 16; }
    void SetDevice(ULONG ulDevice) { ulSlot |= (ulDevice & 0x1F) << 11; }
    void SetFunction(ULONG ulFunction) { ulSlot |= (ulFunction & 7) << 8; }

    ULONG Bus() const { return ulSlot >> 16 & 0xFF; }
    ULONG Device() const { return ulSlot >> 11 & 0x1F; }
    ULONG Function() const { return ulSlot >> 8 & 7; }
};
