#include "ostradb/errors/data_layer_errors.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string_view>

namespace ostradb {

namespace {

// The message resources of the data layer, by their resource names.
constexpr std::string_view _rsOk = "нет ошибки";
constexpr std::string_view _rsERR_CANCEL = "Операция отменена";
constexpr std::string_view _rsERR_INTERRUPT = "Операция прервана";
constexpr std::string_view _rsERR_AGAIN = "Повторить";
constexpr std::string_view _rsERR_FILENOTFOUND = "Файл не найден";
constexpr std::string_view _rsERR_NORESNAME = "Нет имени ресурса";
constexpr std::string_view _rsERR_STREAM = "Ошибка потока";
constexpr std::string_view _rsERR_INVFILEFORMAT = "Неверный формат файла";
constexpr std::string_view _rsERR_INVARG = "Неверный аргумент";
constexpr std::string_view _rsERR_INVPARAM = "Неверный параметр";
constexpr std::string_view _rsERR_INVOPER = "Неверная операция";
constexpr std::string_view _rsERR_TYPENOTSUPPORT = "Тип не поддерживается";
constexpr std::string_view _rsERR_INVTABLECHAIN = "Неверная цепочка таблиц в запросе";
constexpr std::string_view _rsERR_NODESC = "Нет описателя таблиц(ы)";
constexpr std::string_view _rsERR_NODATA = "Нет данных";
constexpr std::string_view _rsERR_NOGROUPH = "Нет строки данных для группирования";
constexpr std::string_view _rsERR_NOKEYFLDVAL = "Не заданы значения для ключевых полей ";
constexpr std::string_view _rsERR_UNKNOWNFLD = "Неизвестное имя поля";
constexpr std::string_view _rsERR_NOFLD = "Отсуствует поле";
constexpr std::string_view _rsERR_NOSELECTEDFLD = "Нет полей в ответе";
constexpr std::string_view _rsERR_NOFOUNDFIRST = "FindNext без FindFirst";
constexpr std::string_view _rsERR_MANYFLD = "Слишком много полей";
constexpr std::string_view _rsERR_SEEK = "Нет такой записи";
constexpr std::string_view _rsERR_THATSALL = "Больше записей нет";
constexpr std::string_view _rsERR_INVSORTNUM = "Неверная нумерация";
constexpr std::string_view _rsERR_CONVERT = "Ошибка преобразования";
constexpr std::string_view _rsERR_CATFULL = "Каталог целиком заполнен";
constexpr std::string_view _rsERR_OUTOFSIZE = "Превышение заданного размера";
constexpr std::string_view _rsERR_INITFAIL = "Ошибка инициализации внутри процедуры";
constexpr char _rsError_d[] = "ошибка #%d";
// Resources of the same table that no message here is built from.
[[maybe_unused]] constexpr std::string_view _rsStdErr = "Стандартная ";
[[maybe_unused]] constexpr std::string_view _rsInternalErr =
    "Possibly internal error calling function getErrMsg";

constexpr int kFirstCode = 300;
constexpr std::string_view kMessages[] = {
    _rsERR_CANCEL,     _rsERR_INTERRUPT, _rsERR_AGAIN,          _rsERR_FILENOTFOUND,
    _rsERR_NORESNAME,  _rsERR_STREAM,    _rsERR_INVFILEFORMAT,  _rsERR_INVARG,
    _rsERR_INVPARAM,   _rsERR_INVOPER,   _rsERR_TYPENOTSUPPORT, _rsERR_INVTABLECHAIN,
    _rsERR_NODESC,     _rsERR_NODATA,    _rsERR_NOGROUPH,       _rsERR_NOKEYFLDVAL,
    _rsERR_UNKNOWNFLD, _rsERR_NOFLD,     _rsERR_NOSELECTEDFLD,  _rsERR_NOFOUNDFIRST,
    _rsERR_MANYFLD,    _rsERR_SEEK,      _rsERR_THATSALL,       _rsERR_INVSORTNUM,
    _rsERR_CONVERT,    _rsERR_CATFULL,   _rsERR_OUTOFSIZE,      _rsERR_INITFAIL,
};
constexpr int kCodeCount = static_cast<int>(std::size(kMessages));

}  // namespace

std::string getErrMsg(int code) {
    if (code == 0) return std::string(_rsOk);
    if (code >= kFirstCode && code < kFirstCode + kCodeCount)
        return std::string(kMessages[code - kFirstCode]);
    char text[64];
    std::snprintf(text, sizeof text, _rsError_d, code);
    return text;
}

void getCErrMsg(int code, char* buffer, std::size_t bufferSize) {
    if (bufferSize == 0) return;
    const std::string message = getErrMsg(code);
    std::size_t length = std::min(message.size(), bufferSize - 1);
    // Step back over UTF-8 continuation bytes so that a cut never splits a character.
    if (length < message.size())
        while (length > 0 && (static_cast<unsigned char>(message[length]) & 0xC0) == 0x80)
            --length;
    std::memcpy(buffer, message.data(), length);
    buffer[length] = '\0';
}

}  // namespace ostradb
