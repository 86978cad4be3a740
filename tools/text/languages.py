"""The languages of the models and the encodings of their texts."""

# Language: translations in Debian's packages, name generators of python3-fake-factory, and the
# languages of a development set that belong to it.
LATIN = {
    "en": (["en_GB", "en_CA"], ["en_US", "en_GB"], ["en"]),
    "de": (["de", "nds", "lb"], ["de_DE", "de_AT"], ["de"]),
    "fr": (["fr", "wa", "oc"], ["fr_FR"], ["fr"]),
    "es": (["es", "gl", "ast"], ["es_ES", "es_MX"], ["es"]),
    "it": (["it"], ["it_IT"], ["it"]),
    "pt": (["pt", "pt_BR"], ["pt_PT", "pt_BR"], ["pt"]),
    "ca": (["ca", "ca@valencia"], [], []),
    "nl": (["nl", "af", "fy"], ["nl_NL"], ["nl"]),
    "sv": (["sv"], ["sv_SE"], ["sv"]),
    "no": (["nb", "nn", "da"], ["no_NO", "dk_DK"], ["no", "da"]),
    "fi": (["fi"], ["fi_FI"], ["fi"]),
    "is": (["is", "fo"], [], ["is"]),
    "xx": (["eu", "ga", "gd", "cy", "br", "id", "ms", "sq", "et", "sw", "kl", "fur"], [], []),
    "pl": (["pl"], ["pl_PL"], ["pl"]),
    "cs": (["cs", "sk"], ["cs_CZ"], ["cs", "sk"]),
    "hu": (["hu"], ["hu_HU"], ["hu"]),
    "ro": (["ro"], ["ro_RO"], ["ro"]),
    "hr": (["hr", "sl", "sr@latin", "bs"], ["hr_HR", "sl_SI"], []),
    "tr": (["tr"], ["tr_TR"], ["tr"]),
    "lt": (["lt"], ["lt_LT"], []),
    "lv": (["lv"], ["lv_LV"], []),
    "vi": (["vi"], [], []),
}
OTHER = {
    "ru": (["ru"], ["ru_RU"], ["ru"]),
    "uk": (["uk", "be"], ["uk_UA"], ["uk"]),
    "bg": (["bg", "mk", "sr"], ["bg_BG"], ["bg"]),
    "el": (["el"], ["el_GR"], ["el"]),
    "ar": (["ar", "fa"], [], ["ar"]),
    "he": (["he"], ["he_IL"], ["he"]),
    "th": (["th"], ["th_TH"], ["th"]),
}
CJK = {
    "zh": (["zh_CN"], ["zh_CN"], ["zh"]),
    "zt": (["zh_TW", "zh_HK"], ["zh_TW"], ["zt"]),
    "ja": (["ja"], ["ja_JP"], ["ja"]),
    "ko": (["ko"], ["ko_KR"], ["ko"]),
}
LANGUAGES = {**LATIN, **OTHER, **CJK}

WESTERN = ["cp1252", "iso8859-15"]
CENTRAL = ["cp1250", "iso8859-2", "iso8859-16"]
CODECS = {
    **{language: WESTERN for language in LATIN},
    **{language: CENTRAL for language in ("pl", "cs", "hu", "ro", "hr")},
    "tr": ["cp1254"], "lt": ["cp1257"], "lv": ["cp1257"], "vi": ["cp1258"],
    "ru": ["cp1251", "koi8-u"], "uk": ["cp1251", "koi8-u"], "bg": ["cp1251"],
    "el": ["cp1253"], "ar": ["cp1256"], "he": ["cp1255"], "th": ["cp874"],
}
