#include "ulk/ace/Err.h"

#include "ulk/kryn/CodeTxt.h"

namespace ulk::ace {

namespace {

const kryn::CodeTxt err_txt_list[] = {
    {Err_OK, "OK"},
    {Err_NOT_IMPLEMENTED, "Function not implemented"},
    {Err_FAILURE, "Generic failure"},
    {Err_EXCEPTION, "Exception"},
    {Err_NO_ROOM, "No room"},
    {Err_NOT_FOUND, "Not found"},
    {Err_DATA_CORRUPTED, "Data corrupted"},
    {Err_DATA_NOT_AVAILABLE, "Data not available"},
    {Err_UNUSABLE_DATA, "Unusable data"},
    {Err_UNKNOWN_DATA, "Unknown data"},
    {Err_STATE_ERROR, "State error"},
    {Err_INVALID_UTF8, "Invalid UTF-8 string"},
    {Err_INVALID_FORMAT, "Invalid format"},
    {Err_FORBIDDEN_CHAR, "String contains forbidden characters"},
    {Err_FORBIDDEN_ELEMENT, "Contains forbidden elements"},
    {Err_INVALID_SIZE, "Invalid size"},
    {Err_CANNOT_CONVERT_PARAM_VAL, "Cannot convert parameter value"},
    {Err_NOT_SUPPORTED, "Not supported"},
    {Err_PROPERTY_NOT_SUPPORTED, "Property is not supported"},
    {Err_OUT_OF_RANGE, "Out of range"},
    {Err_CANNOT_OPEN, "Cannot open"},
    {Err_INVALID_IDENTIFIER, "Invalid identifier"},
    {Err_CANNOT_CHANGE_SIZE, "Cannot change size"},
    {Err_INVALID_PIN_CONF, "Invalid pin configuration"},
    {Err_INVALID_PARAM_LOCATION, "Invalid parameter location"},
    {Err_INVALID_ARGUMENT, "Invalid argument"},
    {Err_CANNOT_INSTANTIATE, "Cannot instantiate object"},
    {Err_CONNECTION_REFUSED, "Connection is not accepted"},
    {Err_INVALID_CALL, "Invalid function call"},
    {Err_CONCURRENCY, "Failure related to thread concurrency"},
    {Err_PLATFORM_NOT_SUPPORTED, "Platform not supported"},
    {Err_NOT_EMPTY, "Object is not empty"},
    {Err_ENGINE_EXCEPTION, "Exception"},
    {Err_ENGINE_UNKNOWN_IDENTIFIER, "Unknown identifier"},
    {Err_ENGINE_UNKNOWN_PLUG_IN, "Unknown plug-in"},
    {Err_ENGINE_DISCRETE_RAMP, "Discrete parameters cannot have ramp"},
    {Err_ENGINE_NOTE_OUT_OF_PATTERN, "Note is out of its pattern"},
    {Err_ENGINE_CURVE_OUT_OF_PATTERN, "Parameter curve is out of its pattern"},
    {Err_ENGINE_CURVE_OUT_OF_NOTE, "Parameter curve is out of its note"},
    {Err_ENGINE_CURVE_END_NOT_BREAK, "Parameter curve end point is not of 'Break' type"},
    {Err_ENGINE_CONNECTION_NOT_AUDIO, "Connection is not from Audio type"},
    {Err_ENGINE_REMOVE_NON_EMPTY, "Cannot remove a non-empty element"},
    {Err_ENGINE_INVALID_WINDOW_BOUNDS, "Invalid window bounds"},
    {Err_ENGINE_ID_ALREADY_USED, "There is already an object with the same identifier"},
    {Err_ENGINE_TIMESTAMP_ALREADY_USED, "An object already exists at this timestamp"},
    {Err_ENGINE_PARAM_PORT_ALREADY_EXISTS, "Parameter port already exists"},
    {Err_ENGINE_PARAM_TRACK_ALREADY_EXISTS, "Parameter track already exists"},
    {Err_ENGINE_SPL_PARAM_ID_ALREADY_EXISTS, "Sample parameter identifier already exists"},
    {Err_ENGINE_INDEX_OUT_OF_RANGE, "Index out of range"},
    {Err_ENGINE_VALUE_OUT_OF_RANGE, "Value out of range"},
    {Err_ENGINE_CACHE_OUT_OF_DATE, "Cached information are out of date or invalid"},
    {Err_ENGINE_OPEN_REGISTRY_KEY_LIST, "Cannot open registry key list"},
    {Err_ENGINE_OPEN_REGISTRY_KEY, "Cannot open registry key"},
    {Err_ENGINE_DECODE_CRC, "Cannot decode CRC"},
    {Err_ENGINE_ENCODE_PATH, "Cannot encode path"},
    {Err_ENGINE_DECODE_PATH, "Cannot decode path"},
    {Err_ENGINE_ENCODE_UTF8, "Cannot encode string to UTF-8"},
    {Err_ENGINE_DECODE_UTF8, "Cannot decode string from UTF-8"},
    {Err_ENGINE_OPEN_FACTORY_FILE, "Cannot open the factory file"},
    {Err_ENGINE_OPEN_CACHE_FILE, "Cannot open the cache file"},
    {Err_ENGINE_OPEN_BLACKLIST_FILE, "Cannot open the blacklist file"},
    {Err_ENGINE_OPEN_DIRECTORY, "Cannot open directory"},
    {Err_ENGINE_INVALID_REGISTRY_KEY, "Invalid registry key"},
    {Err_ENGINE_CREATE_PLUGIN, "Failed to create plug-in"},
    {Err_ENGINE_SAMPLE_FREQ_INCONSISTENCY, "Sampling rate inconsistency"},
    {Err_ENGINE_TOO_MANY_PINS, "Too much pins"},
    {Err_ENGINE_TIMESTAMPS_NOT_SORTED, "Timestamps are not sorted"},
    {Err_ENGINE_INVALID_TIMESTAMP, "Timestamp is invalid"},
    {Err_ENGINE_REMOVE_LAST_TEMPO, "Cannot remove last tempo element"},
    {Err_ENGINE_REMOVE_LAST_TIME_SIG, "Cannot remove last time signature element"},
    {Err_ENGINE_TEMPO_LIST_EMPTY, "Tempo list is empty"},
    {Err_ENGINE_TIME_SIG_LIST_EMPTY, "Time signature list is empty"},
    {Err_ENGINE_PLUGIN_REFERENCED, "Plugin is still referenced"},
    {Err_ENGINE_PATTERN_REFERENCED, "Pattern is still referenced"},
    {Err_ENGINE_REGION_REFERENCED, "Region is still referenced"},
    {Err_ENGINE_NOT_A_PLUGIN_ID, "Not a plug-in identifier"},
    {Err_ENGINE_NOT_A_PATTERN_ID, "Not a pattern identifier for the given plug-in"},
    {Err_ENGINE_NOT_A_REGION_ID, "Not a region identifier"},
    {Err_ENGINE_INVALID_PLUGIN_LIST, "Invalid plug-in list"},
    {Err_ENGINE_PINS_STILL_CONNECTED, "Cannot suppress pins still connected"},
    {Err_ENGINE_DATA_CORRUPTED, "Corrupted or inconsistent data"},
    {Err_ENGINE_NO_MEMORY, "No memory enough for the operation"},
    {Err_ENGINE_WRONG_NBR_TRACKS, "Wrong number of tracks"},
    {Err_ENGINE_WRONG_TRACK_ID, "Wrong track identifier"},
    {Err_ENGINE_FILE_NOT_IN_CACHE, "Audio file not in cache"},
    {Err_ENGINE_UNKNOWN_FILE_ID, "Unknown audio file identifier"},
    {Err_ENGINE_AUDIO_CONF_NOT_AVAILABLE, "Audio configuration not available"},
    {Err_ENGINE_PIN_INDEX_OUT_OF_RANGE, "Pin index out of range"},
    {Err_ENGINE_PIN_ALREADY_RECORDED, "Pin is already being recorded"},
    {Err_ENGINE_RECORDING_NOT_STARTED, "Recording is not started on this pin yet"},
    {Err_ENGINE_RECORDING_ACTIVE, "Audio recording is still active"},
    {Err_ENGINE_INVALID_POINTER, "Invalid pointer"},
    {Err_ENGINE_TOO_MANY_VIEWCTRL, "Too many View/Controllers"},
    {Err_ENGINE_UI_OPEN, "User interface is open"},
    {Err_ENGINE_UI_CLOSED, "User interface is closed"},
    {Err_ENGINE_UNKNOWN_NOTE_ID, "Unknown note identifier"},
    {Err_ENGINE_WRONG_STATE, "Wrong state"},
    {Err_ENGINE_EXTERNAL_API, "External API error"},
    {Err_ENGINE_DEVICE_NOT_OPEN, "Device not open"},
    {Err_ENGINE_MIDI_DEVICE_INDEX, "Invalid MIDI device index"},
    {Err_ENGINE_MIDI_CHANNEL_COMBINATION, "Invalid MIDI channel combination"},
    {Err_ENGINE_MIDI_NOTE_RANGE, "Invalid MIDI note range"},
    {Err_ENGINE_MIDI_TRANSPOSITION, "Invalid MIDI transposition for the specified range"},
    {Err_ENGINE_MIDI_ALREADY_RECORDED, "MIDI is already being recorded"},
    {Err_ENGINE_AUTOMATION_ALREADY_RECORDED, "Automation is already being recorded"},
    {Err_ENGINE_FORBIDDEN_WHILE_RECORDING, "This operation is forbidden while recording"},
    {Err_ENGINE_NO_CELL_AVAILABLE, "No cell available"},
    {Err_ENGINE_NO_CYCLE_ALLOWED, "No cycle allowed in the plug-in graph"},
    {Err_ENGINE_MIDI_PORT_CONNECTED, "A MIDI port is still connected to the plugin"},
    {Err_ENGINE_TRANSACTION_ALREADY_STARTED, "There already is a started transaction"},
    {Err_ENGINE_PATTERN_TRANSACTION_ONGOING, "There is a pattern transaction on going"},
    {Err_ENGINE_TRANSACTION_NOT_STARTED, "Transaction not started"},
    {Err_ENGINE_TRANSACTION_ON_OTHER_PATTERN, "Transaction started on another pattern"},
    {Err_ENGINE_PATTERN_LOCKED, "Pattern locked for transaction"},
    {Err_ENGINE_DATA_NOT_SET, "Data not set"},
    {0, nullptr}};

constexpr int err_txt_list_len = 115;
static_assert(sizeof(err_txt_list) / sizeof(err_txt_list[0]) == err_txt_list_len + 1);

} // namespace

char const* Err_get_text(int code) {
    for (int i = 0; i < err_txt_list_len; ++i) {
        if (err_txt_list[i].code == code && err_txt_list[i].txt != nullptr) {
            return err_txt_list[i].txt;
        }
    }
    return nullptr;
}

char const* Err_get_text_nn(int code) {
    char const* const txt = Err_get_text(code);
    return txt != nullptr ? txt : "";
}

} // namespace ulk::ace
