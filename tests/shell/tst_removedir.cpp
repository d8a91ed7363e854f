// shell/tst_removedir.cpp

#include "TavrinHelper.h"

#include <QtTest>

#include <unistd.h>

namespace {

/// Gives up root's rights over files until it goes; changes nothing for another user.
class Unprivileged
{
public:
    Unprivileged() : m_wasRoot(geteuid() == 0)
    {
        if (m_wasRoot && (setegid(nobody) != 0 || seteuid(nobody) != 0))
            qFatal("cannot give up the rights of root");
    }
    ~Unprivileged()
    {
        if (m_wasRoot && (seteuid(0) != 0 || setegid(0) != 0))
            qFatal("cannot become root again");
    }

    static const uid_t nobody = 65534;

private:
    bool m_wasRoot;
};

void touch(const QString &path)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("x");
}

} // namespace

class TestRemoveDir : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_dir.reset(new QTemporaryDir);
        m_root = m_dir->path() + "/temp_cloud";
        QVERIFY(QDir().mkpath(m_root + "/Dropbox/Work/.hidden folder"));
        touch(m_root + "/.hidden");
        touch(m_root + "/Dropbox/Häuser und Gärten.obj");
        touch(m_root + "/Dropbox/Work/.hidden folder/a");
    }

    void cleanup() { QDir::setCurrent(QDir::rootPath()); }

    void everythingGoes()
    {
        QFile::setPermissions(m_root + "/.hidden", QFile::ReadOwner);
        QVERIFY(qtHelper_removeDir(m_root));
        QVERIFY(!QFileInfo::exists(m_root));
        QVERIFY(QFileInfo::exists(m_dir->path()));
    }

    void linksAreNotFollowed()
    {
        const QString kept = m_dir->path() + "/kept";
        QVERIFY(QDir().mkpath(kept));
        touch(kept + "/precious");
        QVERIFY(QFile::link(kept, m_root + "/to a folder"));
        QVERIFY(QFile::link(kept + "/precious", m_root + "/to a file"));
        QVERIFY(QFile::link(kept + "/no such file", m_root + "/to nothing"));
        QVERIFY(QFile::link(m_root, m_root + "/Dropbox/to itself"));

        QVERIFY(qtHelper_removeDir(m_root));
        QVERIFY(!QFileInfo::exists(m_root));

        QVERIFY(QFile::link(kept, m_root));
        QVERIFY(qtHelper_removeDir(m_root + '/'));
        QVERIFY(!QFileInfo(m_root).isSymLink());
        QVERIFY(QFileInfo::exists(kept + "/precious"));
    }

    void pathForms_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("as the host's fallback gives it") << "./temp_cloud";
        QTest::newRow("bare") << "temp_cloud";
        QTest::newRow("separator at the end") << "./temp_cloud/";
        QTest::newRow("from below") << "temp_cloud/../temp_cloud";
    }

    void pathForms()
    {
        QFETCH(QString, path);
        QVERIFY(QDir::setCurrent(m_dir->path()));
        QVERIFY(qtHelper_removeDir(path));
        QVERIFY(!QFileInfo::exists(m_root));
    }

    void whatCannotBeRemovedStaysAndIsReported()
    {
        const QString locked = m_root + "/Dropbox/locked";
        QVERIFY(QDir().mkpath(locked));
        touch(locked + "/file");
        // The tests' home is closed to the user that does the removing.
        for (const QString &above : {QDir::homePath(), m_dir->path()})
            QFile::setPermissions(above, QFile::permissions(above) | QFile::ExeOther);
        for (QDirIterator entry(m_dir->path(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                                QDirIterator::Subdirectories);
             entry.hasNext();) {
            const QByteArray path = QFile::encodeName(entry.next());
            if (geteuid() == 0)
                QCOMPARE(chown(path.constData(), Unprivileged::nobody, Unprivileged::nobody), 0);
        }
        QFile::setPermissions(locked, QFile::ReadOwner | QFile::ExeOwner);

        bool removed = true;
        {
            const Unprivileged rights;
            removed = qtHelper_removeDir(m_root);
        }
        QVERIFY(!removed);
        QVERIFY(QFileInfo::exists(locked + "/file"));
        QVERIFY(QFileInfo::exists(m_root + "/.hidden")); // files come after folders, so the walk has ended before it
        QFile::setPermissions(locked, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QVERIFY(qtHelper_removeDir(m_root));
    }

    void nothingThereIsSuccess()
    {
        QVERIFY(qtHelper_removeDir(m_dir->path() + "/no such folder"));
        QVERIFY(QDir::setCurrent(m_dir->path()));
        QVERIFY(qtHelper_removeDir(QString()));
        QVERIFY(QFileInfo::exists(m_root));
    }

private:
    QScopedPointer<QTemporaryDir> m_dir;
    QString m_root;
};

QTEST_GUILESS_MAIN(TestRemoveDir)
#include "tst_removedir.moc"
