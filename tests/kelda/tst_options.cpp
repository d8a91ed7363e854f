// The option box procedures, on a real dialog of the kind that a plug-in makes.

#include "kelda/SceneHost.h"

#include "ui/OptionBox.h"

#include <QtWidgets>

namespace {

/// A dialog with a named layout that holds an OK button.
struct PlugInDialog : QDialog
{
    PlugInDialog()
    {
        setLayout(new QVBoxLayout);
        layout()->setObjectName("PlugInOptionsLayout");
        layout()->addWidget(ok);
        connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    }

    template <typename W>
    W *option(const char *key) const
    {
        return findChild<W *>(QStringLiteral("KeldaOption_") + key);
    }
    QDoubleSpinBox *scale() const { return option<QDoubleSpinBox>("scale"); }
    static void click(QAbstractButton *button) { QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, 8)); }

    QPushButton *ok = new QPushButton("OK");
};

} // namespace

class TestOptions : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void acceptedOptionsChangeTheImport();
    void dialogShowsWhatIsStoredAndWithoutOkChangesNothing();
    void anotherTranslatorReplacesTheWidgets();
    void failures_data();
    void failures();

private:
    QString run(const QString &command) { return m_host->run(command); }
    /// The five commands that fill a dialog, in the order in which plug-ins send them.
    void setUp(const QString &action, const QString &translator, const QString &path);
    QString accept(const QString &action)
    {
        return run("fileOperationsOptionsUICallback " + action + " PlugInOptionsLayout");
    }

    std::unique_ptr<SceneHost> m_host;
};

void TestOptions::init()
{
    m_host.reset();
    m_host = std::make_unique<SceneHost>(KGlobal::kInteractive);
    registerOptionBoxCommands(m_host->host, m_host->options);
}

void TestOptions::setUp(const QString &action, const QString &translator, const QString &path)
{
    const QString target = action + " PlugInOptionsLayout";
    QCOMPARE(run("initCurrentFileTypeOption " + action + " \"\" \"\""), QString());
    QCOMPARE(run("fileOperationsOptionsUISetup " + target), QString());
    QCOMPARE(run("fileOperationsOptionsUIInitValues " + target + " \"" + translator + "\""), QString());
    QCOMPARE(run("setCurrentFileTypeOption " + target + " \"" + translator + "\""), QString());
    QCOMPARE(run("fileOperationsSelectionChangedCallback " + target + " \"" + path + "\""), QString());
}

void TestOptions::acceptedOptionsChangeTheImport()
{
    const QString file = ModelFiles::write(m_host->path("<b>box.obj"), ModelFiles::box());
    PlugInDialog dialog;
    setUp("Import", "OBJ", file);
    const auto *label = dialog.findChild<QLabel *>("KeldaOptionFile");
    QCOMPARE(label->text(), QString("<b>box.obj"));
    QCOMPARE(label->textFormat(), Qt::PlainText);

    QString answer = "not called";
    // At this moment the dialog is closed already.
    connect(&dialog, &QDialog::finished, this, [&] { answer = accept("Import"); });
    QTimer::singleShot(0, &dialog, [&] {
        dialog.click(dialog.option<QCheckBox>("triangulate"));
        dialog.click(dialog.option<QCheckBox>("joinVertices"));
        dialog.scale()->setValue(3);
        // Nothing is stored before the dialog is accepted.
        m_host->import(file);
        QCOMPARE(m_host->measured(), QString("12 12 8 0 0 0 1 2 3"));
        dialog.click(dialog.ok);
    });
    QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    QCOMPARE(answer, QString());

    run("file -force -new");
    m_host->import(file);
    QCOMPARE(m_host->measured(), QString("0 6 24 0 0 0 3 6 9"));
    QCOMPARE(run("fileOption Import \"STL\" -q \"scale\""), QString("1"));
}

void TestOptions::dialogShowsWhatIsStoredAndWithoutOkChangesNothing()
{
    run("fileOption Import \"FBX\" -set \"triangulate\" 0; fileOption Import \"FBX\" -set \"scale\" 0.01");
    // An earlier dialog that is still there must not get the options of the newer one.
    PlugInDialog closing;
    setUp("Import", "OBJ", "x.obj");
    closing.show();
    {
        const PlugInDialog dialog;
        setUp("Import", "FBX", "x.fbx");
        QVERIFY(dialog.scale());
        QCOMPARE(dialog.scale()->value(), 0.01);
        QVERIFY(!dialog.option<QCheckBox>("triangulate")->isChecked());
        QVERIFY(dialog.option<QCheckBox>("joinVertices")->isChecked());
        dialog.scale()->setValue(7);
    }
    QCOMPARE(run("fileOption Import \"FBX\" -q \"scale\""), QString("0.01"));
}

void TestOptions::anotherTranslatorReplacesTheWidgets()
{
    const PlugInDialog dialog;
    setUp("ExportAll", "OBJ", ".");
    QVERIFY(dialog.option<QCheckBox>("materials"));
    setUp("ExportAll", "COLLADA", ".");
    QVERIFY(!dialog.option<QCheckBox>("materials"));
    QCOMPARE(dialog.findChildren<QComboBox *>("KeldaOption_upAxis").size(), 1);

    // Both exports share their options.
    dialog.option<QComboBox>("upAxis")->setCurrentText("Z");
    QCOMPARE(accept("ExportAll"), QString());
    QCOMPARE(run("fileOption ExportActive \"COLLADA\" -q \"upAxis\""), QString("Z"));
}

void TestOptions::failures_data()
{
    ModelFiles::addRows(
        {"command", "answer"},
        {
            {"initCurrentFileTypeOption Paint \"\" \"\"", "unknown file action \"Paint\""},
            {"initCurrentFileTypeOption", "initCurrentFileTypeOption takes 3 arguments"},
            {"fileOperationsOptionsUISetup Import Nowhere", "there is no layout named \"Nowhere\""},
            {"fileOperationsOptionsUICallback Import Nowhere", "no options were set up in a layout named \"Nowhere\""},
            {"setCurrentFileTypeOption Import PlugInOptionsLayout \"Clay\"", "unknown file translator \"Clay\""},
            {"fileOperationsOptionsUICallback Import PlugInOptionsLayout", "no translator's options are shown"},
            {"fileOperationsOptionsUICallback ExportAll PlugInOptionsLayout",
             "the options in \"PlugInOptionsLayout\" belong to another action"},
        });
}

void TestOptions::failures()
{
    QFETCH(QString, command);
    QFETCH(QString, answer);
    const PlugInDialog dialog;
    run("fileOperationsOptionsUISetup Import PlugInOptionsLayout");
    QCOMPARE(run(command), "failed: " + answer);
}

QTEST_MAIN(TestOptions)
#include "tst_options.moc"
