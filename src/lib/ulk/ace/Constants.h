#pragma once

namespace ulk::ace {

// What host and plug-ins agree on. The bundle itself reads ANTI_DENORMAL and the identifiers.
class Constants {
public:
    static constexpr double MIN_TEMPO = 30.0;
    static constexpr double MAX_TEMPO = 999.0;
    static constexpr double MIN_TIMESTAMP = -10000000.0;
    static constexpr double MAX_TIMESTAMP = 10000000.0;
    static constexpr double TIMESTAMP_INVALID = -11000000.0;
    static constexpr double MAX_DURATION = 20000000.0;
    static constexpr double MIN_TIMESTAMP_PAT_PRE = -1.0;
    static constexpr double MAX_TIMESTAMP_PAT_POST = 1.0;
    static constexpr double MIN_TIMESTAMP_PAT_PRE_TOT = -2.0;
    static constexpr double MAX_TIMESTAMP_PAT_POST_TOT = 2.0;
    static constexpr double MAX_GROOVE_SHIFT = 1.0;
    static constexpr double MIN_NON_ZERO_DURATION = 1e-05;
    static constexpr double MIN_PLAYBACK_LOOP_DURATION = 1.0;
    static constexpr double MIN_CURVATURE = -100.0;
    static constexpr double MAX_CURVATURE = 100.0;
    static constexpr float ANTI_DENORMAL = 1e-18f;
    static constexpr long MAX_KRYN_STATE_CHUNK_SIZE = 1073741824;
    static constexpr long TAPE_SPL_ID_BIT_DEPTH = 48;
    static constexpr long MAX_NBR_USER_AUDIO_PINS = 16;
    static constexpr long MAX_NBR_PINS = 128;
    static constexpr char KRYN_ID_FIELD_DELIMITER = '#';
    static constexpr char KRYN_ID_ESC_START = '&';
    static constexpr char KRYN_ID_ESC_END = ';';
    static constexpr char PLUGIN_ID_TESSITONE_PREFIX[] = "Brevanto#Tessitone";
    static constexpr char PLUGIN_ID_AUDIO_INPUT[] = "Brevanto#TessitoneAudioInput";
    static constexpr char PLUGIN_ID_AUDIO_OUTPUT[] = "Brevanto#TessitoneAudioOutput";
    static constexpr char PLUGIN_ID_TAPE[] = "Brevanto#TessitoneAudioTape";
    static constexpr char PLUGIN_ID_BYPASS[] = "Brevanto#TessitoneBypass";
    static constexpr char PLUGIN_ID_DRYWET[] = "Brevanto#TessitoneDryWet";
    static constexpr char PKEY_KRYN_CACHE_LIST_PATH[] = "path_list";
    static constexpr char PKEY_KRYN_CACHE_DATA[] = "cached_data";
    static constexpr char PKEY_KRYN_CACHE_FOLDER_LIST[] = "folder_list";
    static constexpr char PKEY_KRYN_CACHE_FOLDER_PATH[] = "path";
    static constexpr char PKEY_KRYN_CACHE_FOLDER_PARE[] = "path_readable";
    static constexpr char PKEY_KRYN_CACHE_FOLDER_DATE[] = "modification_date";
    static constexpr char PKEY_KRYN_CACHE_LIST_LIB[] = "libraries";
    static constexpr char PKEY_KRYN_CACHE_INFO_PI[] = "info";
    static constexpr char PKEY_KRYN_CACHE_INFO_PI_PATH[] = "path";
    static constexpr char PKEY_KRYN_CACHE_INFO_PI_PARE[] = "path_readable";
    static constexpr char PKEY_KRYN_CACHE_INFO_PI_DATE[] = "modification_date";
    static constexpr char PKEY_KRYN_CACHE_INFO_PI_NPI[] = "nbr_plugins";
    static constexpr char PKEY_KRYN_CACHE_INFO_PI_CRC[] = "crc";
    static constexpr char PKEY_KRYN_CACHE_LIST_PI[] = "plugins";
    static constexpr char PKEY_KRYN_CACHE_LIST_PI_TYPE[] = "type";
    static constexpr char PKEY_KRYN_CACHE_LIST_PI_REF[] = "ref";
    // Indexed by kryn::PluginFactory::PluginType.
    static constexpr char const* PKEY_KRYN_CACHE_PI_TYPE_ARR[] = {"dsp", "viewctrl"};
};

} // namespace ulk::ace
