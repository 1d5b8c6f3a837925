// The core agent's functions that no agent may call, for anyone who stands in for the core agent.
#pragma once

#include "FcoeAgent/CoreAgentPvt.h"

class ReservedSlots : public ICoreAgentPvt {
  private:
    // An agent called a function that is not its to call.
    virtual void OnReserved(int slot) = 0;

    void Reserved0() final { OnReserved(0); }
    void Reserved1() final { OnReserved(1); }
    void Reserved2() final { OnReserved(2); }
    void Reserved3() final { OnReserved(3); }
    void Reserved4() final { OnReserved(4); }
    void Reserved5() final { OnReserved(5); }
    void Reserved6() final { OnReserved(6); }
    void Reserved7() final { OnReserved(7); }
    void Reserved8() final { OnReserved(8); }
    void Reserved9() final { OnReserved(9); }
    void Reserved10() final { OnReserved(10); }
    void Reserved11() final { OnReserved(11); }
    void Reserved12() final { OnReserved(12); }
    void Reserved14() final { OnReserved(14); }
    void Reserved15() final { OnReserved(15); }
    void Reserved16() final { OnReserved(16); }
    void Reserved17() final { OnReserved(17); }
    void Reserved18() final { OnReserved(18); }
    void Reserved19() final { OnReserved(19); }
    void Reserved20() final { OnReserved(20); }
    void Reserved22() final { OnReserved(22); }
    void Reserved23() final { OnReserved(23); }
    void Reserved24() final { OnReserved(24); }
    void Reserved26() final { OnReserved(26); }
    void Reserved27() final { OnReserved(27); }
    void Reserved28() final { OnReserved(28); }
    void Reserved29() final { OnReserved(29); }
    void Reserved30() final { OnReserved(30); }
    void Reserved31() final { OnReserved(31); }
    void Reserved32() final { OnReserved(32); }
    void Reserved33() final { OnReserved(33); }
    void Reserved34() final { OnReserved(34); }
    void Reserved37() final { OnReserved(37); }
    void Reserved38() final { OnReserved(38); }
    void Reserved39() final { OnReserved(39); }
    void Reserved40() final { OnReserved(40); }
    void Reserved41() final { OnReserved(41); }
    void Reserved42() final { OnReserved(42); }
    void Reserved43() final { OnReserved(43); }
    void Reserved44() final { OnReserved(44); }
    void Reserved45() final { OnReserved(45); }
    void Reserved46() final { OnReserved(46); }
    void Reserved47() final { OnReserved(47); }
    void Reserved48() final { OnReserved(48); }
    void Reserved49() final { OnReserved(49); }
    void Reserved50() final { OnReserved(50); }
    void Reserved51() final { OnReserved(51); }
    void Reserved52() final { OnReserved(52); }
    void Reserved53() final { OnReserved(53); }
    void Reserved54() final { OnReserved(54); }
    void Reserved55() final { OnReserved(55); }
    void Reserved56() final { OnReserved(56); }
    void Reserved57() final { OnReserved(57); }
    void Reserved58() final { OnReserved(58); }
    void Reserved59() final { OnReserved(59); }
    void Reserved60() final { OnReserved(60); }
    void Reserved61() final { OnReserved(61); }
    void Reserved62() final { OnReserved(62); }
    void Reserved63() final { OnReserved(63); }
    void Reserved64() final { OnReserved(64); }
    void Reserved65() final { OnReserved(65); }
    void Reserved66() final { OnReserved(66); }
    void Reserved67() final { OnReserved(67); }
    void Reserved68() final { OnReserved(68); }
    void Reserved69() final { OnReserved(69); }
    void Reserved70() final { OnReserved(70); }
    void Reserved71() final { OnReserved(71); }
    void Reserved72() final { OnReserved(72); }
    void Reserved73() final { OnReserved(73); }
    void Reserved74() final { OnReserved(74); }
    void Reserved75() final { OnReserved(75); }
    void Reserved76() final { OnReserved(76); }
    void Reserved77() final { OnReserved(77); }
    void Reserved78() final { OnReserved(78); }
};
