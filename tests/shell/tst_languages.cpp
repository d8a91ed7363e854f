// shell/tst_languages.cpp
//
// The tables of scripts/strings, read by the real host: each has a text for everything that the plug-in says.

#include "host/KeldaHost.h"
#include "TavrinStrings.h"

#include <QtTest>

/// Writes down what is registered.
class RegisteringHost : public KeldaHost
{
public:
    using KeldaHost::KeldaHost;
    KStatus registerString(const KStringResourceId &id) override
    {
        ids.push_back(id);
        return KeldaHost::registerString(id);
    }
    std::vector<KStringResourceId> ids;
};

class TestLanguages : public QObject
{
    Q_OBJECT

private slots:
    void everyTextIsTranslated_data()
    {
        QTest::addColumn<QStringList>("same"); // as in English
        QTest::newRow("de") << QStringList{"kCloudPortalWindowLabel", "kProgressPerSecond"};
    }
    void everyTextIsTranslated()
    {
        QFETCH(QStringList, same);
        const QString language = QTest::currentDataTag();
        KeldaHost::Setup setup;
        setup.location = SOURCE_FOLDER;
        setup.uiLanguage = language + "_CH";
        RegisteringHost host(setup);
        TavrinStrings::registerKStringResources();
        host.interpreter().evaluate("source \"TavrinCreateUI.ksc\"; TavrinInitStrings();");
        for (const KStringResourceId &id : host.ids) {
            const QString text = KQtUtil::toQString(TavrinStrings::getString(id));
            const QString english = KQtUtil::toQString(id.defaultText());
            QVERIFY2((text == english) == same.contains(id.key().utf8()), id.key().utf8());
            QVERIFY2(!text.trimmed().isEmpty() && !text.contains('%') && !text.contains("TODO"), id.key().utf8());
            QVERIFY2(text.startsWith(' ') == english.startsWith(' ') && text.endsWith(' ') == english.endsWith(' '),
                     id.key().utf8());
        }
        QFile table(QStringLiteral(SOURCE_FOLDER "/scripts/strings/Tavrin_%1.ksc").arg(language));
        QVERIFY(table.open(QIODevice::ReadOnly));
        QCOMPARE(table.readAll().count("\nsetStringResource \"Tavrin\" "), static_cast<int>(host.ids.size()));
    }
};

QTEST_MAIN(TestLanguages)
#include "tst_languages.moc"
