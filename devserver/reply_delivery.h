#pragma once

// Ways of answering beyond "write this response now": later (a slow service), cut off part way
// (a dropped connection), and files streamed from disk a piece at a time so memory stays flat
// however large they are. QHttpServer 6.4 would read a whole file into memory for fromFile.

#include <QByteArray>
#include <QHttpServerResponder>
#include <QHttpServerResponse>
#include <QString>

namespace brightloom::devserver {

struct FileReply
{
    QString path;
    QByteArray mimeType;
};

// Writes `response` after `delayMs`, unless the client has gone by then.
void writeLater(QHttpServerResponse response, QHttpServerResponder&& responder, int delayMs);

// Sends the status, the headers with the full Content-Length and half of the body, then closes the
// connection.
void writeTruncated(const QHttpServerResponse& response, QHttpServerResponder&& responder);

// Streams the file; with `truncate` only its first half, then closes the connection. A file that
// cannot be opened answers 404 with a JSON message.
void streamFile(const FileReply& file, QHttpServerResponder&& responder, bool truncate, int delayMs);

} // namespace brightloom::devserver
