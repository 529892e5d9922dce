#pragma once

#include <QString>
#include <stdexcept>

namespace brightloom {

// A failure the client itself detects; `message` is shown to the user as it stands.
class APIError : public std::runtime_error
{
public:
    explicit APIError(const QString& message) : std::runtime_error(message.toStdString()), m_message(message)
    {}
    const QString& message() const { return m_message; }

private:
    QString m_message;
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
