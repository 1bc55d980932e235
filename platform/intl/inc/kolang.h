#ifndef KOLANG_H
#define KOLANG_H

/// Language identifiers. Each string carries one, and stored strings keep it: the numbers are disk
/// format, never change one or give it to another language. The gaps are room for new ones. An
/// identifier without a name here is accepted and kept like any other. The ISO 639-1 code stands
/// beside each.
enum KoLanguageId : unsigned char {
    KoLANG_NONE = 0, ///< no language: the order common to all

    // Western and northern Europe
    KoLANG_ENGLISH = 1,        ///< en
    KoLANG_GERMAN = 2,         ///< de
    KoLANG_FRENCH = 3,         ///< fr
    KoLANG_SPANISH = 4,        ///< es
    KoLANG_ITALIAN = 5,        ///< it
    KoLANG_PORTUGUESE = 6,     ///< pt
    KoLANG_DUTCH = 7,          ///< nl
    KoLANG_DANISH = 8,         ///< da
    KoLANG_SWEDISH = 9,        ///< sv
    KoLANG_NORWEGIAN = 10,     ///< no
    KoLANG_FINNISH = 11,       ///< fi
    KoLANG_ICELANDIC = 12,     ///< is
    KoLANG_FAROESE = 13,       ///< fo
    KoLANG_IRISH = 14,         ///< ga
    KoLANG_WELSH = 15,         ///< cy
    KoLANG_CATALAN = 16,       ///< ca
    KoLANG_BASQUE = 17,        ///< eu
    KoLANG_GALICIAN = 18,      ///< gl
    KoLANG_MALTESE = 19,       ///< mt
    KoLANG_LUXEMBOURGISH = 20, ///< lb

    // Central, eastern and south-eastern Europe
    KoLANG_TURKISH = 40,    ///< tr
    KoLANG_GREEK = 41,      ///< el
    KoLANG_POLISH = 42,     ///< pl
    KoLANG_CZECH = 43,      ///< cs
    KoLANG_SLOVAK = 44,     ///< sk
    KoLANG_HUNGARIAN = 45,  ///< hu
    KoLANG_ROMANIAN = 46,   ///< ro
    KoLANG_BULGARIAN = 47,  ///< bg
    KoLANG_CROATIAN = 48,   ///< hr
    KoLANG_SERBIAN = 49,    ///< sr
    KoLANG_BOSNIAN = 50,    ///< bs
    KoLANG_SLOVENIAN = 51,  ///< sl
    KoLANG_MACEDONIAN = 52, ///< mk
    KoLANG_ALBANIAN = 53,   ///< sq
    KoLANG_ESTONIAN = 54,   ///< et
    KoLANG_LATVIAN = 55,    ///< lv
    KoLANG_LITHUANIAN = 56, ///< lt
    KoLANG_RUSSIAN = 57,    ///< ru
    KoLANG_UKRAINIAN = 58,  ///< uk
    KoLANG_BELARUSIAN = 59, ///< be

    // Ideographic
    KoLANG_CHINESE = 100,  ///< zh
    KoLANG_JAPANESE = 101, ///< ja
    KoLANG_KOREAN = 102,   ///< ko

    KoLANG_NULL = 254,    ///< marks the null value
    KoLANG_DEFAULT = 255, ///< stands for the default language
};

#endif
