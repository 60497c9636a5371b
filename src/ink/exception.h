/**
 * \class CException
 * CException: an error object carrying a message and an error code, for
 * applications that report failures by throwing. The library itself never throws it;
 * its own operations report through return values.
 *
 * It is a plain value (no base class, nothing virtual): catch it by type.
 *
 *   throw CException(QObject::tr("cannot open %1").arg(path), 2);
 */
#ifndef LIBUTILITY_INK_EXCEPTION_H
#define LIBUTILITY_INK_EXCEPTION_H

#include <libutility/utility_export.h>

#include <QString>

class UTILITY_EXPORT CException
{
public:
    /// An exception with a message and an application-defined error code.
    /// \param message human-readable description of the failure
    /// \param errorCode code chosen by the application; not interpreted here
    CException(const QString &message, int errorCode);

    /// A copy of the message.
    /// \return the message given at construction
    QString message() const;
    /// The error code given at construction.
    /// \return the error code
    int errorCode() const;

private:
    QString m_message;
    int m_errorCode;
};

#endif
