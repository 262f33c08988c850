#include "app/window/TimerDrawer.h"

#include "app/window/FormBinding.h"
#include "app/window/PlayBinding.h"
#include "app/window/ScreenReader.h"
#include "app/window/TabParts.h"
#include "schedule/TimerControls.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>

namespace {
constexpr int margin = 10;
constexpr int rowSpacing = 3;

void explain(QWidget& widget, const TabParts& parts, const std::string& key) {
    const QString tip = parts.text(key + "Tip");
    widget.setToolTip(tip);
    widget.setAccessibleDescription(tip);
}
} // namespace

TimerDrawer::TimerDrawer(TimerControls& controls, const Texts& texts, QWidget* parent) : QWidget(parent) {
    setFixedWidth(fixedWidth);
    const TabParts parts(*this, texts);
    auto* form = new QFormLayout(this);
    form->setContentsMargins(0, margin, margin, margin);
    form->setVerticalSpacing(rowSpacing);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);

    auto* enabled = new QCheckBox(parts.text("EntryEnabled"));
    enabled->setObjectName("EntryEnabled");
    explain(*enabled, parts, "EntryEnabled");
    PlayBinding::bind(controls.enabledCheck, *enabled);
    form->addRow(enabled);
    auto* name = new QLineEdit;
    FormBinding::bind(controls.nameField, *name);
    addRow(*form, parts, "ReserveNameTitle", name);
    addTime(*form, parts, "StartTimeTitle", controls.startHourPopup, controls.startMinutePopup);
    addTime(*form, parts, "StopTimeTitle", controls.stopHourPopup, controls.stopMinutePopup);
    const std::pair<const char*, Popup*> popups[] = {
        {"ReserveMonthTitle", &controls.monthPopup}, {"ReserveDayTitle", &controls.dayPopup},
        {"ReserveWeekTitle", &controls.weekPopup},   {"SourceDeviceTitle", &controls.devicePopup},
        {"SampleRateTitle", &controls.ratePopup},    {"ChannelsNumberTitle", &controls.channelsPopup},
        {"RecordModeTitle", &controls.modePopup}};
    for (const auto& [key, popup] : popups)
        addRow(*form, parts, key, box(*popup, parts, key));
}

QComboBox* TimerDrawer::box(Popup& control, const TabParts& parts, const char* key) {
    auto* box = new QComboBox;
    box->setObjectName(QString::fromLatin1(key));
    box->setAccessibleName(parts.text(key));
    explain(*box, parts, key);
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    box->setMinimumContentsLength(2);
    FormBinding::bind(control, *box);
    return box;
}

void TimerDrawer::addRow(QFormLayout& form, const TabParts& parts, const char* key, QWidget* field) {
    field->setObjectName(QString::fromLatin1(key));
    field->setAccessibleName(parts.text(key));
    explain(*field, parts, key);
    auto* label = new QLabel(parts.text(key));
    label->setBuddy(field);
    form.addRow(label, field);
}

void TimerDrawer::addTime(QFormLayout& form, const TabParts& parts, const char* key, Popup& hour,
                          Popup& minute) {
    auto* pair = new QWidget;
    auto* line = new QHBoxLayout(pair);
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(4);
    QComboBox* hours = box(hour, parts, key);
    hours->setAccessibleName(parts.text(key) + QStringLiteral(": ") + parts.text("HourOfEntry"));
    QComboBox* minutes = box(minute, parts, key);
    minutes->setAccessibleName(parts.text(key) + QStringLiteral(": ") + parts.text("MinuteOfEntry"));
    line->addWidget(hours, 1);
    line->addWidget(new QLabel(QStringLiteral(":")));
    line->addWidget(minutes, 1);
    ScreenReader::tellName(*hours);
    ScreenReader::tellName(*minutes);
    pair->setFocusProxy(hours);
    form.addRow(new QLabel(parts.text(key)), pair);
}
