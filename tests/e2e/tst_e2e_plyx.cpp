// Plyx: the sign-in page in the dialog. The tour covers galleries and models.

#include "E2ETest.h"

#include <QWebElement>
#include <QWebFrame>
#include <QWebPage>
#include <QWebView>

class TestE2EPlyx : public E2ETest
{
    Q_OBJECT
public:
    TestE2EPlyx() : E2ETest("Plyx") {}

private slots:
    void signsInAfterAWrongPassword()
    {
        QVERIFY2(m_page->open(), error());
        QVERIFY2(m_guide->openSignInPage(*m_page), error());
        const auto refusal = [this] {
            return m_page->signInPage()->page()->mainFrame()->findFirstElement("#error").toPlainText();
        };
        QVERIFY2(m_driver->typeInPage(m_page->signInPage(), "#user", "demo"), error());
        QVERIFY2(typePassword("wrong"), error());
        QTRY_VERIFY(refusal().contains("wrong"));
        QVERIFY(!m_page->isSignedIn());
        QCOMPARE(storedSession(), QString());

        QVERIFY2(typePassword("demo"), error());
        QTRY_COMPARE(m_page->loginText(), QString("Logout (Robin Example)"));
        QTRY_COMPARE(m_page->entries(), (QStringList{"Grell", "Tarn", "Lumo", "Lumo Mobile", "Home"}));
        QVERIFY(!m_page->signInPage());
    }

private:
    bool typePassword(const QString &password)
    {
        return m_driver->typeInPage(m_page->signInPage(), "#password", password) &&
               m_driver->clickInPage(m_page->signInPage(), "#sign-in");
    }
};

QTEST_MAIN(TestE2EPlyx)
#include "tst_e2e_plyx.moc"
