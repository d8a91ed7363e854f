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
    void everyTextIsThereInGerman()
    {
        const QStringList sameInEnglish{"kCloudPortalWindowLabel", "kProgressPerSecond"};
        KeldaHost::Setup setup;
        setup.location = SOURCE_FOLDER;
        setup.uiLanguage = "de_CH";
        RegisteringHost host(setup);
        TavrinStrings::registerKStringResources();
        host.interpreter().evaluate("source \"TavrinCreateUI.ksc\"; TavrinInitStrings();");
        QVERIFY(host.ids.size() > 50);
        for (const KStringResourceId &id : host.ids) {
            const QString text = KQtUtil::toQString(TavrinStrings::getString(id));
            const QString english = KQtUtil::toQString(id.defaultText());
            QVERIFY2((text == english) == sameInEnglish.contains(id.key().utf8()), id.key().utf8());
            QVERIFY2(!text.isEmpty() && text.endsWith(' ') == english.endsWith(' '), id.key().utf8());
            QVERIFY2(text.startsWith(' ') == english.startsWith(' ') && !text.contains('%'), id.key().utf8());
        }
    }
};

QTEST_MAIN(TestLanguages)
#include "tst_languages.moc"
