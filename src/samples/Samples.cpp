#include "samples/Samples.h"

#include <span>
#include <vector>

namespace velmora {
namespace {

struct SampleRow {
    std::string_view language;
    std::string_view text;
};

// Rows in stored order. When several keys share a language part ("en", "zh"), the first row in
// this order is the one a prefix lookup returns.
const std::vector<SampleRow>& sentences() {
    static const std::vector<SampleRow> table{
        {"ar-SA", "مرحبا، كيف حالك؟ اليوم يوم جميل."},
        {"cs-CZ", "Dobrý den, jak se máte? Dnes je krásný den."},
        {"da-DK", "Goddag, hvordan har du det? I dag er en smuk dag."},
        {"de-DE", "Guten Tag, wie geht es Ihnen? Heute ist ein schöner Tag."},
        {"el-GR", "Καλημέρα, τι κάνετε; Σήμερα είναι μια όμορφη μέρα."},
        {"en-AU", "Hello, how are you going? It is a beautiful day, 42 degrees."},
        {"en-GB", "Good afternoon. The time is 3:45 PM on the 21st of September."},
        {"en-IE", "Good morning. The weather in Dublin is lovely today."},
        {"en-ZA", "Good morning. The weather in Cape Town is lovely today."},
        {"en-US", "Hello! This is Samantha. VoiceOver on, 12 new messages from Dr. Smith."},
        {"es-ES", "Buenos días, ¿cómo está usted? Hoy hace un día precioso."},
        {"es-MX", "Hola, ¿cómo estás? Hoy es un día muy bonito."},
        {"fi-FI", "Hyvää päivää, mitä kuuluu? Tänään on kaunis päivä."},
        {"fr-CA", "Bonjour, comment allez-vous? Il fait beau aujourd'hui."},
        {"fr-FR", "Bonjour, comment allez-vous ? Il fait très beau aujourd'hui."},
        {"hi-IN", "नमस्ते, आप कैसे हैं? आज का दिन बहुत सुंदर है।"},
        {"hu-HU", "Jó napot, hogy van? Ma szép nap van."},
        {"id-ID", "Selamat siang, apa kabar? Hari ini cuacanya indah."},
        {"it-IT", "Buongiorno, come sta? Oggi è una bella giornata."},
        {"ja-JP", "こんにちは、お元気ですか？今日はいい天気ですね。"},
        {"ko-KR", "안녕하세요, 어떻게 지내세요? 오늘은 날씨가 좋네요."},
        {"nl-BE", "Goedendag, hoe gaat het met u? Het is een mooie dag."},
        {"nl-NL", "Goedemiddag, hoe gaat het? Vandaag is het mooi weer."},
        {"no-NO", "God dag, hvordan har du det? I dag er det fint vær."},
        {"nb-NO", "God dag, hvordan har du det? I dag er det fint vær."},
        {"pl-PL", "Dzień dobry, jak się masz? Dzisiaj jest piękny dzień."},
        {"pt-BR", "Bom dia, como vai você? Hoje está um dia lindo."},
        {"pt-PT", "Bom dia, como está? Hoje está um dia bonito."},
        {"ro-RO", "Bună ziua, ce mai faceți? Astăzi este o zi frumoasă."},
        {"ru-RU", "Здравствуйте, как дела? Сегодня прекрасный день."},
        {"sk-SK", "Dobrý deň, ako sa máte? Dnes je krásny deň."},
        {"sv-SE", "God dag, hur mår du? Idag är det en vacker dag."},
        {"th-TH", "สวัสดีครับ สบายดีไหม วันนี้อากาศดีมาก"},
        {"tr-TR", "Merhaba, nasılsınız? Bugün çok güzel bir gün."},
        {"zh-CN", "你好，今天天气很好。我们去公园散步吧。"},
        {"zh-HK", "你好，今日天氣好好。我哋去公園散步啦。"},
        {"yue-HK", "你好，今日天氣好好。我哋去公園散步啦。"},
        {"zh-TW", "你好，今天天氣很好。我們去公園散步吧。"},
    };
    return table;
}

const std::vector<SampleRow>& greetings() {
    static const std::vector<SampleRow> table{
        {"ar-SA", "مرحباً! اسمي %@."},
        {"cs-CZ", "Dobrý den! Jmenuji se %@."},
        {"da-DK", "Hej! Jeg hedder %@."},
        {"de-DE", "Hallo! Ich heiße %@."},
        {"el-GR", "Γεια σας! Με λένε %@."},
        {"en-AU", "Hello! My name is %@."},
        {"en-GB", "Hello! My name is %@."},
        {"en-IE", "Hello! My name is %@."},
        {"en-US", "Hello! My name is %@."},
        {"en-ZA", "Hello! My name is %@."},
        {"es-ES", "¡Hola! Me llamo %@."},
        {"es-MX", "¡Hola! Me llamo %@."},
        {"fi-FI", "Hei! Nimeni on %@."},
        {"fr-CA", "Bonjour! Je m'appelle %@."},
        {"fr-FR", "Bonjour ! Je m'appelle %@."},
        {"hi-IN", "नमस्ते! मेरा नाम %@ है।"},
        {"hu-HU", "Üdvözlöm! A nevem %@."},
        {"id-ID", "Halo! Nama saya %@."},
        {"it-IT", "Ciao! Mi chiamo %@."},
        {"ja-JP", "こんにちは！私の名前は%@です。"},
        {"ko-KR", "안녕하세요! 제 이름은 %@입니다."},
        {"nb-NO", "Hei! Jeg heter %@."},
        {"nl-BE", "Hallo! Mijn naam is %@."},
        {"nl-NL", "Hallo! Mijn naam is %@."},
        {"no-NO", "Hei! Jeg heter %@."},
        {"pl-PL", "Cześć! Nazywam się %@."},
        {"pt-BR", "Olá! Meu nome é %@."},
        {"pt-PT", "Olá! O meu nome é %@."},
        {"ro-RO", "Bună! Numele meu este %@."},
        {"ru-RU", "Здравствуйте! Меня зовут %@."},
        {"sk-SK", "Dobrý deň! Volám sa %@."},
        {"sv-SE", "Hej! Jag heter %@."},
        {"th-TH", "สวัสดีค่ะ! ฉันชื่อ%@"},
        {"tr-TR", "Merhaba! Benim adım %@."},
        {"yue-HK", "你好！我叫%@。"},
        {"zh-CN", "你好！我叫%@。"},
        {"zh-HK", "你好！我叫%@。"},
        {"zh-TW", "你好！我叫%@。"},
    };
    return table;
}

// The code's language part: the first non-empty piece between hyphens, or the whole code when
// it has none ("" and "-" stay as they are; "-fr" gives "fr").
std::string_view languagePart(std::string_view code) {
    const auto start = code.find_first_not_of('-');
    if (start == std::string_view::npos) return code;
    const auto end = code.find('-', start);
    return code.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start);
}

std::string_view lookUp(std::span<const SampleRow> table, std::string_view code,
                        std::string_view lastResort) {
    for (const auto& row : table) {
        if (row.language == code) return row.text;
    }
    // An empty code has an empty language part, which is taken to begin no key, so it falls
    // back like any other code without a match.
    const auto part = languagePart(code);
    for (const auto& row : table) {
        if (!part.empty() && row.language.starts_with(part)) return row.text;
    }
    for (const auto& row : table) {
        if (row.language == "en-US") return row.text;
    }
    return lastResort;
}

}  // namespace

std::string_view Samples::textFor(std::string_view languageCode) {
    return lookUp(sentences(), languageCode, "Hello.");
}

std::string_view Samples::templateFor(std::string_view languageCode) {
    return lookUp(greetings(), languageCode, "Hello! My name is %@.");
}

}  // namespace velmora
