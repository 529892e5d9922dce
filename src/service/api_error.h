#pragma once

#include <QString>
#include <stdexcept>

namespace brightloom {

// A failure the client itself detects, or the service's answer of failure; `message` is shown to
// the user as it stands. `httpStatus` is the service's status code, 0 when the client detected it.
class APIError : public std::runtime_error
{
public:
    explicit APIError(const QString& message, int httpStatus = 0)
        : std::runtime_error(message.toStdString()), m_message(message), m_httpStatus(httpStatus)
    {}
    const QString& message() const { return m_message; }
    int httpStatus() const { return m_httpStatus; }

private:
    QString m_message;
    int m_httpStatus = 0;
};

// The network could not carry a request (no connection, refused, timed out, TLS not trusted).
class TransportError : public std::runtime_error
{
public:
    explicit TransportError(const QString& text) : std::runtime_error(text.toStdString()) {}
};

// The file system refused something the client needed (a folder, a move, a write).
class FileError : public std::runtime_error
{
public:
    explicit FileError(const QString& text) : std::runtime_error(text.toStdString()) {}
};

} // namespace brightloom
