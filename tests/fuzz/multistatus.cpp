// The listing of a WebDAV folder, whole and in pieces, and the names in it.

#include "MultiStatus.h"

#include "DavPath.h"
#include "Fuzz.h"

#include <algorithm>

using namespace pelago;

namespace {

struct Listing
{
    QList<DavEntry> entries;
    bool complete = false;
};

Listing read(const QList<QByteArray> &reply)
{
    Listing listing;
    MultiStatus reader([&](const DavEntry &entry) { listing.entries.append(entry); });
    for (const QByteArray &piece : reply)
        reader.read(piece);
    listing.complete = reader.isComplete();
    return listing;
}

bool same(const DavEntry &left, const DavEntry &right)
{
    return left.href == right.href && left.folder == right.folder && left.size == right.size &&
           left.modified == right.modified && left.mediaType == right.mediaType && left.etag == right.etag;
}

void checkName(const QByteArray &href)
{
    const QUrl root(QStringLiteral("https://cloud.example/dav/"));
    const DavPath::Folder folder(DavPath::address(root, QStringLiteral("a b"), DavPath::Form::Folder));
    QString name;
    if (folder.find(href, &name) != DavPath::Folder::Member::Child)
        return;
    Fuzz::require(DavPath::isIdentifier(name) && !name.contains(QLatin1Char('/')), "a child has a name");
    const QString id = DavPath::child(QStringLiteral("a b"), name);
    const QUrl address = DavPath::address(root, id, DavPath::Form::File);
    QString again;
    const bool found = folder.find(address.toEncoded(), &again) == DavPath::Folder::Member::Child;
    Fuzz::require(found && again == name, "the address of a child gives its name again");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray reply = Fuzz::bytes(data, size);
    const Listing whole = read({reply});
    const Listing pieces = read(Fuzz::pieces(reply));
    // Qt does not detect an unexpected end of a CDATA section where two pieces meet.
    const bool hasSectionEnd = QByteArray(reply).replace('\0', QByteArray()).contains("]]>");
    Fuzz::require(whole.complete == pieces.complete || (pieces.complete && hasSectionEnd),
                  "pieces are complete if the whole is");
    // Qt refuses a piece with wrongly encoded bytes as a whole.
    const int common = std::min(whole.entries.size(), pieces.entries.size());
    Fuzz::require((!whole.complete || whole.entries.size() == pieces.entries.size()) &&
                      std::equal(whole.entries.begin(), whole.entries.begin() + common, pieces.entries.begin(), same),
                  "pieces give the same entries");
    for (const DavEntry &entry : whole.entries) {
        Fuzz::require(!entry.href.isEmpty() && entry.size >= -1, "an entry has an address and no negative size");
        checkName(entry.href);
    }
    return 0;
}
