// File names and paths of a service or a user, in local paths.

#include "cloud/page/HostFiles.h"
#include "Fuzz.h"
#include "portals/Portal_Zephal_CloudItem.h"
#include "TavrinHelper.h"

namespace {

void checkConfinement(const QString &text)
{
    const QString name = TavrinHelper::safeLocalName(text);
    const QString path = TavrinHelper::safeLocalPath(text);
    Fuzz::require(Fuzz::staysInside(path, name), "a safe path stays inside");
    Fuzz::require(TavrinHelper::safeLocalName(name) == name && TavrinHelper::safeLocalPath(path) == path,
                  "a safe name is not changed");
    Fuzz::require(path.startsWith(QLatin1Char('/')) <= text.startsWith(QLatin1Char('/')),
                  "a relative path stays relative");
}

/// A file in a folder, both named \p name, is written in the folder of its item.
void checkItem(const KString &name)
{
    Portal_Zephal_ICloudItem folder(nullptr);
    Portal_Zephal_ICloudItem file(nullptr);
    folder.SetProperty("name", name);
    file.SetProperty("name", name);
    file.SetParent(&folder);
    const QString subFolder = QStringLiteral("Zephal") + KQtUtil::toQString(file.GetImportPathFolder());
    const QString fileName = KQtUtil::toQString(file.GetImportFilename());
    Fuzz::require(Fuzz::staysInside(TavrinHelper::safeLocalPath(subFolder), TavrinHelper::safeLocalName(fileName)),
                  "a file stays in its area");
    Fuzz::require(subFolder.count(QLatin1Char('/')) == 1, "a folder is one level");
}

void checkCleaning(const QString &text)
{
    QString name = text;
    CleanFilename(name);
    for (const QChar character : QStringLiteral("\\/:*?\"<>|"))
        Fuzz::require(!name.contains(character), "a clean name has no forbidden character");
    QString again = name;
    CleanFilename(again);
    Fuzz::require(again == name, "a clean name is not changed");
}

void checkExtension(const QString &text)
{
    KString name = KQtUtil::toKString(text);
    KString extension;
    const bool isFound = getFileExtension(name, extension);
    const QString found = isFound ? '.' + KQtUtil::toQString(extension) : QString();
    Fuzz::require(KQtUtil::toQString(name).endsWith(found) && found.lastIndexOf('.') <= 0 && !found.contains('/'),
                  "an extension is the end of the name");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = Fuzz::bytes(data, size);
    const QString text = QString::fromUtf8(bytes);
    checkConfinement(text);
    checkItem(KQtUtil::toKString(text));
    checkCleaning(text);
    checkExtension(text);
    return 0;
}
