#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "samples/Samples.h"

namespace velmora {
namespace {

using Rows = std::vector<std::pair<std::string, std::string>>;

const Rows sentenceRows{
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

const Rows greetingRows{
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

TEST(SamplesTest, EveryLanguageOfTheTablesGetsItsOwnRow) {
    ASSERT_EQ(sentenceRows.size(), 38u);
    ASSERT_EQ(greetingRows.size(), 38u);
    for (const auto& [language, sentence] : sentenceRows) {
        EXPECT_EQ(Samples::textFor(language), sentence) << language;
    }
    for (const auto& [language, greeting] : greetingRows) {
        EXPECT_EQ(Samples::templateFor(language), greeting) << language;
    }
}

TEST(SamplesTest, EveryGreetingHoldsThePlaceholderOnce) {
    for (const auto& [language, unused] : greetingRows) {
        const std::string greeting(Samples::templateFor(language));
        const auto first = greeting.find("%@");
        ASSERT_NE(first, std::string::npos) << language;
        EXPECT_EQ(greeting.find("%@", first + 1), std::string::npos) << language;
    }
}

struct LookupCase {
    const char* name;
    const char* code;
    const char* sentence;
    const char* greeting;
};

const char* const usSentence = "Hello! This is Samantha. VoiceOver on, 12 new messages from Dr. Smith.";
const char* const englishGreeting = "Hello! My name is %@.";

TEST(SamplesTest, CodesWithoutARowFallBackByLanguageThenToUsEnglish) {
    const LookupCase cases[] = {
        {"region without a row", "de-AT", "Guten Tag, wie geht es Ihnen? Heute ist ein schöner Tag.",
         "Hallo! Ich heiße %@."},
        {"language alone", "yue", "你好，今日天氣好好。我哋去公園散步啦。", "你好！我叫%@。"},
        {"language that is no key's prefix", "fil-PH", usSentence, englishGreeting},
        {"prefix test is case-sensitive", "EN-us", usSentence, englishGreeting},
        {"empty code", "", usSentence, englishGreeting},
        {"one hyphen", "-", usSentence, englishGreeting},
        {"several hyphens", "---", usSentence, englishGreeting},
        {"empty pieces dropped", "--sv--FI", "God dag, hur mår du? Idag är det en vacker dag.",
         "Hej! Jag heter %@."},
        {"exact row wins over the first prefix match", "en-US", usSentence, englishGreeting},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(Samples::textFor(test.code), test.sentence) << test.name;
        EXPECT_EQ(Samples::templateFor(test.code), test.greeting) << test.name;
    }
}

// Where several rows share the language part, any of them may answer; these check the answer
// is one of those rows ("-fr" splits to fr, and a single letter is a prefix too).
TEST(SamplesTest, SharedLanguagePartsAnswerWithOneOfTheirRows) {
    const auto rowsStartingWith = [](const Rows& rows, std::string_view prefix) {
        std::vector<std::string> texts;
        for (const auto& [language, text] : rows) {
            if (language.starts_with(prefix)) texts.push_back(text);
        }
        return texts;
    };
    const std::pair<const char*, const char*> cases[] = {
        {"-fr", "fr"}, {"n", "n"}, {"en-NZ", "en"}, {"zh-SG", "zh"}};
    for (const auto& [code, part] : cases) {
        const auto sentences = rowsStartingWith(sentenceRows, part);
        const auto greetings = rowsStartingWith(greetingRows, part);
        EXPECT_GE(sentences.size(), 2u) << code;
        EXPECT_NE(std::ranges::find(sentences, Samples::textFor(code)), sentences.end()) << code;
        EXPECT_NE(std::ranges::find(greetings, Samples::templateFor(code)), greetings.end()) << code;
    }
    EXPECT_EQ(Samples::templateFor("en-NZ"), englishGreeting);
}

}  // namespace
}  // namespace velmora
