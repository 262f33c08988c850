#include "desktop/DesktopNotifier.h"

#include "desktop/LogindStandIn.h"
#include "desktop/PrivateSystemBus.h"
#include "rehearsal/RecordedSystemLog.h"

#include <gtest/gtest.h>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

namespace {
const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");

/// Plays the desktop.
class DesktopStandIn final : public QDBusVirtualObject {
public:
    explicit DesktopStandIn(const QString& address)
        : m_bus(QDBusConnection::connectToBus(address, QStringLiteral("desktop-stand-in"))) {
        EXPECT_TRUE(m_bus.registerVirtualObject(path, this));
        EXPECT_TRUE(m_bus.registerService(service));
    }
    ~DesktopStandIn() override { QDBusConnection::disconnectFromBus(QStringLiteral("desktop-stand-in")); }
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        shown.push_back(message.arguments());
        signature = message.signature();
        return connection.send(message.createReply(41U + static_cast<unsigned>(shown.size())));
    }
    std::vector<QVariantList> shown;
    QString signature;

private:
    QDBusConnection m_bus;
};

class DesktopNotifierTest : public testing::Test {
protected:
    void SetUp() override {
        if (const std::string why = PrivateSystemBus::whyNot(); !why.empty())
            GTEST_SKIP() << why;
        m_bus = std::make_unique<PrivateSystemBus>();
        m_address = QString::fromStdString(PrivateSystemBus::address());
        m_notifier = std::make_unique<DesktopNotifier>(
            m_log, QStringLiteral("an-icon"),
            QDBusConnection::connectToBus(m_address, QStringLiteral("notifier")));
    }
    void TearDown() override {
        m_notifier.reset();
        QDBusConnection::disconnectFromBus(QStringLiteral("notifier"));
    }

    int m_count = 1;
    char m_name[5] = "test";
    char* m_arguments[2] = {m_name, nullptr};
    QCoreApplication m_application{m_count, m_arguments};
    RecordedSystemLog m_log;
    std::unique_ptr<PrivateSystemBus> m_bus;
    QString m_address;
    std::unique_ptr<DesktopNotifier> m_notifier;
};
} // namespace

TEST_F(DesktopNotifierTest, showsTitleAndText_untilAPersonClosesIt) {
    DesktopStandIn desktop(m_address);
    m_notifier->show(QStringLiteral("The disk is full"), QStringLiteral("Free some <space> & go on"));
    ASSERT_TRUE(becomesTrueInLoop([&] { return desktop.shown.size() == 1; }));
    EXPECT_EQ(desktop.signature, QStringLiteral("susssasa{sv}i"));
    const QVariantList& shown = desktop.shown[0];
    EXPECT_EQ(shown[0].toString(), QStringLiteral("Velmoratide"));
    EXPECT_EQ(shown[1].toUInt(), 0U);
    EXPECT_EQ(shown[2].toString(), QStringLiteral("an-icon"));
    EXPECT_EQ(shown[3].toString(), QStringLiteral("The disk is full"));
    EXPECT_EQ(shown[4].toString(), QStringLiteral("Free some &lt;space&gt; &amp; go on"));
    EXPECT_EQ(shown[7].toInt(), 0);
}

TEST_F(DesktopNotifierTest, putsALaterOneInThePlaceOfTheOneBefore) {
    DesktopStandIn desktop(m_address);
    m_notifier->show(QStringLiteral("one"), {});
    // The first answer may be under way still when the next one is shown.
    ASSERT_TRUE(becomesTrueInLoop([&] {
        if (!desktop.shown.empty())
            m_notifier->show(QStringLiteral("another"), {});
        return !desktop.shown.empty() && desktop.shown.back()[1].toUInt() >= 42U;
    }));
}

TEST_F(DesktopNotifierTest, saysOnceThatNoDesktopShowsAnything) {
    m_notifier->show(QStringLiteral("one"), {});
    m_notifier->show(QStringLiteral("another"), {});
    ASSERT_TRUE(becomesTrueInLoop([&] { return !m_log.lines().empty(); }));
    m_notifier->show(QStringLiteral("a third"), {});
    // Answers come in order: once this one is here, so is that of the third.
    QDBusConnection bus(QStringLiteral("notifier"));
    EXPECT_EQ(bus.call(QDBusMessage::createMethodCall(
                           QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                           QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId")))
                  .type(),
              QDBusMessage::ReplyMessage);
    for (int i = 0; i < 20; ++i)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    EXPECT_EQ(m_log.lines().size(), 1U);
    EXPECT_EQ(m_log.lines()[0].rfind("DesktopNotifier: the desktop shows no notifications (", 0), 0U);
}
