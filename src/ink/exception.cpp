#include <libutility/ink/exception.h>

CException::CException(const QString &message, int errorCode)
    : m_message(message)
    , m_errorCode(errorCode)
{ }

QString CException::message() const { return m_message; }

int CException::errorCode() const { return m_errorCode; }
