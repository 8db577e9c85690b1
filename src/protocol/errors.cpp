#include "ostradb/protocol/errors.hpp"

#include <array>
#include <string_view>

namespace ostradb {

TOstraClientSocketException::TOstraClientSocketException(std::uint8_t code,
                                                         const std::string& message)
    : Error(message), Code(code) {}
TOstraClientSocketException::~TOstraClientSocketException() = default;

TTerminatedExeption::TTerminatedExeption()
    : TOstraClientSocketException(ecTerminated, "Connection was terminated") {}
TTerminatedExeption::~TTerminatedExeption() = default;

EOstraDBProtocolException::~EOstraDBProtocolException() = default;

namespace {

// The user-facing texts of the server's codes, kept word for word as the server's clients
// have always shown them. Codes 40 and 41 are the client's own and have no text here.
constexpr std::array<std::string_view, 40> kServerMessages = {
    "Успешно",
    "Произошла внутренняя ошибка при выполнении команды",
    "",
    "Произошла ошибка при работе с ODBC-драйвером",
    "Указанная база данных не найдена",
    "Указанный файл не найден",
    "Указанная комнда не найдена",
    "Некорректно задны аргументы в XML-запросе",
    "Произошла внутренняя ошибка при выполнении команды",
    "Произошла ошибка при поиске",
    "Указанная таблица не найдена",
    "Не найдены нужные теги или атрибуты при парсинге XML",
    "Указанная база данных уже существует",
    "",
    "Ошибка в пуле потоков",
    "Среди первых 100 ws-файлов базы данных не найдено ни одного, соответствующего структуре "
    "базы данных. Добавление базы невозможно.",
    "Доступ запрещён",
    "Указанный пользователь не найден",
    "Внутренняя ошибка сервера: выход за пределы установленного диапазона внутри кода",
    "",
    "Указанная строка тиблицы не найдена",
    "Файл не принадлежит какой-либо файловой базе данных",
    "Ошибка при импорте ws-файла",
    "",
    "Указанная кривая не найдена",
    "Невозможно создать указанный файл",
    "Невозможно ткрыть указанный файл",
    "Вы не авторизированны для выполнения действий",
    "Некорректный пароль",
    "Указанный файл не может быть открыт, т.к. она кем-то заблокирована",
    "Невозможно считать данные файла",
    "Невозможно записать данные файла",
    "Указанный идентификатор не найден",
    "Некоректное имя файла",
    "Невозможно создать указанную директорию",
    "Ошибка при работе с Datserv1.dll",
    "Некоректный хэндл Datserv1.dll",
    "Команда не может быть выполнена, т.к. она эксклюзивная и может выполняться только одна за "
    "один раз",
    "Невозможно удалить файл",
    "Уровень с указанным ID не найден",
};

}  // namespace

std::string DbErrCodeToString(EOstraClientSocketExceptionCodes code) {
    return code < kServerMessages.size() ? std::string(kServerMessages[code]) : std::string();
}

}  // namespace ostradb
