#pragma once

// The files a finished job offers: the app archive, the disk image, the icon and, for jobs that
// only write source, the source archive of a small Swift package. They are made once, when the job
// finishes, in a folder of the data folder named by the job's file key, and made again should that
// folder have gone missing.

#include "store.h"

#include <QByteArray>
#include <QString>

namespace brightloom::devserver {

namespace jobfiles {

inline constexpr char appArchive[] = "app.zip";
inline constexpr char diskImage[] = "app.dmg";
inline constexpr char sourceArchive[] = "source.zip";
inline constexpr char icon[] = "icon.png";

// The ways a test can ask the next source archive to be broken.
inline constexpr char faultSymlink[] = "symlink";
inline constexpr char faultEscape[] = "escape";
inline constexpr char faultManifest[] = "manifest";
inline constexpr char faultCompile[] = "compile";
bool isSourceFault(const QString& fault);

bool isSourceMode(const QString& mode);

// Makes every file `job` offers in `folder` (throws ZipError or StoreError-free runtime errors).
void make(const QString& folder, const Job& job);

// Whether `name` is a file that `job` offers.
bool offers(const Job& job, const QString& name);

} // namespace jobfiles

// A square PNG icon: a rounded tile in two colours chosen from `seed`, with a simple mark.
QByteArray iconPng(const QString& seed, int size = 256);

} // namespace brightloom::devserver
