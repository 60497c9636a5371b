/**
 * \class CStringCRC
 * CStringCRC: a 32-bit checksum of a string, used as a cheap identifier and compared
 * by value.
 *
 * The checksum runs the reflected CRC-32 table (polynomial 0xEDB88320) over the UTF-8
 * bytes of the string, starting from 0xFFFFFFFF, and stops there: there is no final
 * inversion, so the value is the bitwise complement of the usual CRC-32 of the same
 * bytes ("123456789" gives 0x340BC6D9, the empty string 0xFFFFFFFF). Identifiers
 * already stored by applications depend on this form; it must not change.
 */
#ifndef LIBUTILITY_INK_STRINGCRC_H
#define LIBUTILITY_INK_STRINGCRC_H

#include <libutility/utility_export.h>

#include <QString>
#include <QtGlobal>

#include <array>

class UTILITY_EXPORT CStringCRC
{
public:
    /// Value 0.
    CStringCRC() = default;
    /// Takes v as the value as it stands.
    /// \param v a checksum computed earlier (value()), taken without checking
    CStringCRC(unsigned long v)
        : m_value(v)
    { }
    /// The checksum of the UTF-8 bytes of s (a null string counts as empty).
    /// \param s the string to checksum
    explicit CStringCRC(const QString &s);
    /// Copies the checksum.
    CStringCRC(const CStringCRC &) = default;
    /// Copies the checksum.
    /// \return this checksum
    CStringCRC &operator=(const CStringCRC &) = default;

    /// The checksum.
    /// \return the 32-bit checksum (the upper bits of a wider unsigned long are 0 unless
    ///     the value was given to the constructor that way)
    unsigned long value() const { return m_value; }

    /// True when both checksums are equal.
    /// \param other checksum to compare with
    /// \return true when the values are equal
    bool operator==(const CStringCRC &other) const { return m_value == other.m_value; }
    /// True when the checksums differ.
    /// \param other checksum to compare with
    /// \return true when the values differ
    bool operator!=(const CStringCRC &other) const { return m_value != other.m_value; }

    /// The reflected CRC-32 table, polynomial 0xEDB88320 (entry 1 is 0x77073096).
    static const std::array<quint32, 256> m_lookUp;

private:
    unsigned long m_value = 0;
};

#endif
