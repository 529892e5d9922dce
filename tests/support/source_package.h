#pragma once

// The source the service writes for a job done on this machine: a small Swift package that the
// client's vetting accepts, as a zip for a test server to offer.

#include "zip_maker.h"

#include <QByteArray>

namespace brightloom::test {

// Package.swift of one executable target, importing only PackageDescription, for macOS 14.
extern const QByteArray sourceManifest;
// App code that the stand-in compiler builds.
extern const QByteArray compilingSwift;

// Package.swift, Sources/App/App.swift holding `appSwift`, and app.json naming the app `name`.
ZipMaker sourcePackage(const QByteArray& appSwift = compilingSwift, const QByteArray& name = "App");

} // namespace brightloom::test
