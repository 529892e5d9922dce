#pragma once

// Where the cookie session is kept between processes: in the desktop's secret store when it
// answers, else in the owner-only file `cookies` of the data folder. Beside it lies the file
// `session`, which holds no secret: it says where the session is kept (`store`, `file` or `none`)
// and a random stamp that every change replaces, so that a process learns that another changed the
// session by reading a few bytes, without asking the store. BRIGHTLOOM_SESSION_STORE=file leaves the
// store out.

#include <QByteArray>
#include <QString>
#include <qcoro/qcorotask.h>

namespace brightloom::SessionStore {

// The name under which the secret store keeps sessions; each data folder's is kept under the
// folder's path.
inline constexpr char storeService[] = "Brightloom";

// The fallback file and the marker of the data folder `folder`.
QString cookieFile(const QString& folder);
QString markerFile(const QString& folder);

// The marker as it stands ("" when there is none): compared with what a process last saw, it tells
// whether the session changed since. It reads one small file and never asks the store.
QByteArray marker(const QString& folder);

struct Loaded
{
    QByteArray cookies; // the saved jar (CookieFile's form); empty when signed out
    QByteArray marker;  // the marker the cookies belong to
};

// The session kept for `folder`, from wherever the marker says it is. A session found in the file
// while the store answers is moved into the store and the file deleted, so that the credential
// leaves the disk. A store that fails or cannot be asked reads as no session. Never throws.
QCoro::Task<Loaded> load(QString folder);

// Keeps `cookies` for `folder`: in the store when it answers, else in the file, and deletes the
// other copy. Empty `cookies` ends the session: it is removed from the store and the file alike.
// Answers the marker written. Never throws.
QCoro::Task<QByteArray> save(QString folder, QByteArray cookies);

} // namespace brightloom::SessionStore
