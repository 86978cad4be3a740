"""The languages of the models and of the extended development set, and their encodings."""

# Language: translations in Debian's packages, name generators of python3-fake-factory, and the
# languages of a development set that belong to it.
LATIN = {
    "en": (["en_GB", "en_CA"], ["en_US", "en_GB"], ["en"]),
    "de": (["de", "nds", "lb"], ["de_DE", "de_AT"], ["de"]),
    "fr": (["fr", "wa", "oc"], ["fr_FR"], ["fr"]),
    "fur": (["fur"], [], []),
    "es": (["es", "gl", "ast"], ["es_ES", "es_MX"], ["es", "gl"]),
    "it": (["it"], ["it_IT"], ["it"]),
    "pt": (["pt", "pt_BR"], ["pt_PT", "pt_BR"], ["pt"]),
    "ca": (["ca", "ca@valencia"], [], ["ca"]),
    "nl": (["nl", "af"], ["nl_NL"], ["nl", "af"]),
    "fy": (["fy"], [], []),
    "sv": (["sv"], ["sv_SE"], ["sv"]),
    "no": (["nb", "nn", "da"], ["no_NO", "dk_DK"], ["no", "da"]),
    "fi": (["fi"], ["fi_FI"], ["fi"]),
    "is": (["is", "fo"], [], ["is", "fo"]),
    "ga": (["ga", "gd"], [], ["ga", "gd"]),
    "sq": (["sq"], [], ["sq"]),
    "xx": (["eu", "cy", "br", "id", "ms", "sw", "kl"], ["id_ID"], ["eu", "cy", "br", "id"]),
    "et": (["et"], ["et_EE"], ["et"]),
    "lt": (["lt"], ["lt_LT"], ["lt"]),
    "lv": (["lv"], ["lv_LV"], ["lv"]),
    "pl": (["pl"], ["pl_PL"], ["pl"]),
    "cs": (["cs"], ["cs_CZ"], ["cs"]),
    "sk": (["sk"], [], ["sk"]),
    "hu": (["hu"], ["hu_HU"], ["hu"]),
    "ro": (["ro"], ["ro_RO"], ["ro"]),
    "hr": (["hr", "sl", "sr@latin", "bs"], ["hr_HR", "sl_SI"], ["hr", "sl", "bs", "sr@latin"]),
    "tr": (["tr"], ["tr_TR"], ["tr"]),
    "vi": (["vi"], [], ["vi"]),
}
OTHER = {
    "ru": (["ru"], ["ru_RU"], ["ru"]),
    "uk": (["uk"], ["uk_UA"], ["uk"]),
    "be": (["be"], [], ["be"]),
    "bg": (["bg"], ["bg_BG"], ["bg"]),
    "sr": (["sr", "mk"], [], ["sr", "mk"]),
    "el": (["el"], ["el_GR"], ["el"]),
    "ar": (["ar"], ["ar_SA"], ["ar"]),
    "fa": (["fa"], ["fa_IR"], ["fa"]),
    "he": (["he"], ["he_IL"], ["he"]),
    "th": (["th"], ["th_TH"], ["th"]),
}
CJK = {
    "zh": (["zh_CN"], ["zh_CN"], ["zh"]),
    "zt": (["zh_TW", "zh_HK"], ["zh_TW"], ["zt", "yue"]),
    "ja": (["ja"], ["ja_JP"], ["ja"]),
    "ko": (["ko"], ["ko_KR"], ["ko"]),
}
LANGUAGES = {**LATIN, **OTHER, **CJK}

# What a text costs for being in a language of few speakers, in sixths of a nat. Their letters with
# accents are frequent: without this cost every Lithuanian "meilė" is an Albanian "meilë".
RARITY = {"fur": 6, "fy": 6, "sq": 6}

WESTERN = ["cp1252", "iso8859-15"]
CENTRAL = ["cp1250", "iso8859-2", "iso8859-16"]
CODECS = {
    **{language: WESTERN for language in LATIN},
    **{language: CENTRAL for language in ("pl", "cs", "sk", "hu", "ro", "hr")},
    "tr": ["cp1254"], "lt": ["cp1257"], "lv": ["cp1257"], "et": ["cp1257", "cp1252"], "vi": ["cp1258"],
    "ru": ["cp1251", "koi8-u"], "uk": ["cp1251", "koi8-u"], "be": ["cp1251"], "bg": ["cp1251"],
    "sr": ["cp1251"], "el": ["cp1253"], "ar": ["cp1256"], "fa": ["cp1256"], "he": ["cp1255"], "th": ["cp874"],
}

# Language: CLDR's name, dictionary of hunspell, name generator, encodings of its texts.
WEST = ["windows-1252"]
CENTRAL = ["windows-1250", "iso-8859-2"]
CYRILLIC = ["windows-1251", "koi8-r", "ibm866", "iso-8859-5", "mac-cyrillic"]
BALTIC = ["windows-1257"]
SHELF = {
    "en": ("en", "en_GB", "en_GB", WEST), "de": ("de", "de_DE", "de_DE", WEST),
    "fr": ("fr", "fr", "fr_FR", WEST + ["iso-8859-15"]), "es": ("es", "es_ES", "es_ES", WEST),
    "it": ("it", "it_IT", "it_IT", WEST), "pt": ("pt", "pt_BR", "pt_BR", WEST),
    "ca": ("ca", "ca", None, WEST), "gl": ("gl", "gl_ES", None, WEST),
    "nl": ("nl", "nl", "nl_NL", WEST), "af": ("af", "af_ZA", None, WEST),
    "sv": ("sv", "sv_SE", "sv_SE", WEST), "no": ("no", "nb_NO", "no_NO", WEST),
    "da": ("da", "da_DK", "dk_DK", WEST), "fi": ("fi", None, "fi_FI", WEST),
    "is": ("is", "is_IS", None, WEST), "fo": ("fo", "fo_FO", None, WEST),
    "eu": ("eu", "eu", None, WEST), "ga": ("ga", "ga_IE", None, WEST),
    "gd": ("gd", "gd_GB", None, WEST), "cy": ("cy", None, None, WEST),
    "br": ("br", "br_FR", None, WEST), "sq": ("sq", "sq", None, WEST),
    "id": ("id", "id_ID", "id_ID", WEST),
    "et": ("et", "et_EE", "et_EE", BALTIC + WEST), "lt": ("lt", "lt_LT", "lt_LT", BALTIC),
    "lv": ("lv", "lv_LV", "lv_LV", BALTIC),
    "pl": ("pl", "pl_PL", "pl_PL", CENTRAL), "cs": ("cs", "cs_CZ", "cs_CZ", CENTRAL),
    "sk": ("sk", "sk_SK", None, CENTRAL), "hu": ("hu", "hu_HU", "hu_HU", CENTRAL),
    "ro": ("ro", "ro_RO", "ro_RO", CENTRAL + ["iso-8859-16"]),
    "hr": ("hr", "hr_HR", "hr_HR", CENTRAL), "sl": ("sl", "sl_SI", "sl_SI", CENTRAL),
    "bs": ("bs", "bs_BA", None, CENTRAL), "sr@latin": ("sr_Latn", "sr_Latn_RS", None, CENTRAL),
    "tr": ("tr", "tr_TR", "tr_TR", ["windows-1254"]), "vi": ("vi", "vi_VN", None, ["windows-1258"]),
    "ru": ("ru", "ru_RU", "ru_RU", CYRILLIC), "uk": ("uk", "uk_UA", "uk_UA", CYRILLIC),
    "be": ("be", "be_BY", None, CYRILLIC), "bg": ("bg", "bg_BG", "bg_BG", CYRILLIC),
    "mk": ("mk", None, None, ["windows-1251", "iso-8859-5"]),
    "sr": ("sr", "sr_RS", None, ["windows-1251", "iso-8859-5"]),
    "el": ("el", "el_GR", "el_GR", ["windows-1253", "iso-8859-7"]),
    "ar": ("ar", "ar", "ar_SA", ["windows-1256"]), "fa": ("fa", "fa_IR", "fa_IR", ["windows-1256"]),
    "he": ("he", "he_IL", "he_IL", ["windows-1255"]), "th": ("th", "th_TH", "th_TH", ["tis-620"]),
    "zh": ("zh", None, "zh_CN", ["gb18030", "hz"]), "zt": ("zh_Hant", None, "zh_TW", ["big5"]),
    "yue": ("yue", None, "zh_TW", ["big5-hkscs"]),
    "ja": ("ja", None, "ja_JP", ["shift_jis", "euc-jp", "iso-2022-jp"]),
    "ko": ("ko", "ko_KR", "ko_KR", ["euc-kr"]),
}
