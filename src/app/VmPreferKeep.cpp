// The keeping of old recordings, and what belongs to the player.
#include "app/VmControler.h"
#include "app/VmPrefer.h"
#include "recorder/VmLevelMeter.h"

void VmPrefer::readKeeper() {}

void VmPrefer::dispKeepTime() {}

std::string_view VmPrefer::keepFaultKey() const {
    return {};
}

void VmPrefer::applyKeeper() {}

void VmPrefer::actCheckKeepAction() {}

void VmPrefer::compressRatioHandle(const Notification&) {}

void VmPrefer::renewRecordList() const {}

void VmPrefer::applyProgram() {
    if (isChanged(peekHoldText)) {
        m_controler.meter().setPeekHoldTime(peekHoldText.value());
        m_controler.meter().saveUserDefaults();
    }
    if (isChanged(opacitySlider)) {
        m_controler.setOpacity(static_cast<float>(opacitySlider.value()) / 100.0f);
        m_controler.saveUserDefaults();
    }
}
