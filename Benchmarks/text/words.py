"""Sentences, names and program text to fill pictures with, drawn at random."""
import pathlib
import random
import textwrap

SENTENCES = {
    "en": """\
The report was sent to all members of the group on {day}.
Please check the figures on page {number} before you sign the contract.
Nobody knew why the second printer stopped after {number} pages.
A new version can be installed without closing the program.
We met at the station and walked along the river until dark.
Water boils sooner in the mountains, but soup takes longer.
Choose a folder with at least {number} MB of free space.
Your changes have been saved; the old copy was moved to the archive.
Who wants to read it again has to ask for a new link by {day}.
The quick answer is no, and the long answer fills {number} books.
Open the settings, choose a colour and confirm with the green button.
Seven boxes of jam, five jars of honey and exactly {number} quinces.
Visitors pay $4.50, children under 12 (with an adult) nothing.
It took a year to build the bridge and a week to paint it.""",
    "de": """\
Die Rechnung für den Monat {month} liegt im Anhang dieser Nachricht.
Bitte prüfen Sie die Größe der Datei, bevor Sie den Ordner schließen.
Über dem Fluss lag Nebel, und die Straße war völlig leer.
Der Drucker im zweiten Stock benötigt {number} Blätter Papier.
Änderungen werden gespeichert, sobald das Fenster geschlossen wird.
Wir müssen heute früher gehen, weil der letzte Zug um zehn fährt.
Grüße aus München, das Wetter ist schön und der Käse schmeckt.
Möchten Sie {number} ausgewählte Einträge endgültig löschen?""",
    "fr": """\
Le rapport a été envoyé à tous les membres du groupe le {number}.
Vérifiez les réglages avant de fermer la fenêtre, s'il vous plaît.
Où se trouve la clé du garçon qui était là hier soir ?
Les fichiers sélectionnés ont été déplacés vers le dossier général.
Cette île est très éloignée, mais le bateau arrive en août.
Le café coûte {number} euros près de la forêt, à côté du château.
Impossible d'ouvrir le modèle : accès refusé par le système.
Après la fête, nous sommes rentrés à pied jusqu'à la mairie.""",
    "es": """\
El informe se envió ayer a todos los miembros de la compañía.
¿Dónde está la llave del señor que llegó a las {number}?
Los archivos más pequeños se guardarán automáticamente.
Mañana habrá {number} niños jugando en el jardín de atrás.
La configuración cambió después de la última actualización.
Elija una opción del menú y pulse el botón según convenga.
El año pasado llovió muchísimo, también en agosto.
No se pudo abrir la página: conexión rechazada.""",
    "ar": """\
تم حفظ الملف في المجلد الجديد قبل إغلاق البرنامج.
لا يمكن فتح الصفحة لأن الاتصال غير متوفر الآن.
نشرب القهوة في الصباح ثم نذهب إلى العمل بالقطار.
اختر لغة أخرى من القائمة ثم اضغط على الزر الأخضر.
كانت المدينة هادئة والشوارع خالية بعد المطر.
يجب قراءة التقرير كاملا قبل توقيع العقد.""",
    "he": """\
הקובץ נשמר בתיקייה החדשה לפני סגירת התוכנה.
לא ניתן לפתוח את הדף כי אין חיבור לרשת.
אנחנו שותים קפה בבוקר ואז נוסעים ברכבת לעבודה.
בחר שפה אחרת מהתפריט ולחץ על הכפתור הירוק.
העיר הייתה שקטה והרחובות ריקים אחרי הגשם.
צריך לקרוא את הדוח כולו לפני חתימת החוזה.""",
    "zh": """\
请在关闭窗口之前保存所有文件。
无法打开网页,因为网络连接已经断开。
我们早上喝咖啡,然后坐火车去上班。
从菜单中选择另一种语言并点击绿色按钮。
下雨以后城市很安静,街上没有人。
签合同之前必须读完整个报告。""",
    "ja": """\
ウィンドウを閉じる前にすべてのファイルを保存してください。
ネットワークに接続できないため、ページを開けません。
朝はコーヒーを飲んでから電車で仕事に行きます。
メニューから別の言語を選んで緑のボタンを押します。
雨の後、町は静かで通りには誰もいませんでした。
契約の前に報告書を最後まで読む必要があります。""",
}
MONTHS = {"en": "January March May June August October".split(),
          "de": "Januar März Mai Juni August Oktober".split()}
DAYS = "Monday Tuesday Wednesday Thursday Friday Saturday".split()
NAMES = "Maria Keller, Tom Baker, Aisha Khan, Peter Novak, Julia Rossi, Ben Clark, Olga Petrova, Sam Wright".split(", ")
THINGS = """Budget Invoice Holiday Contract Meeting Garden Kitchen Report Poster Ticket Window Camera Harbour Station
Letter Museum Bridge Pencil Orange Winter Summer Market""".split()
ACTIONS = "Save Cancel Apply Delete Rename Export Import Print Share Reset Close Continue Retry Search Undo Help".split()
OPTIONS = """Show hidden files|Check for updates|Play a sound at startup|Remember open windows|Use dark colours
Send usage statistics|Wrap long lines|Enable automatic backup|Lock the screen when idle|Confirm before leaving
Keep window on top|Open links in a new tab|Show line numbers|Limit the upload speed""".replace("\n", "|").split("|")
FILES = """main.py notes.txt report.odt photo-12.jpg index.html Makefile README.md setup.cfg parser.c tokens.h budget.ods
archive.tar.gz style.css server.log icons.svg LICENSE""".split()


class Words:
    """Draws from the lists with a seed."""

    def __init__(self, seed):
        self.random = random.Random(seed)

    def number(self, low=2, high=990):
        return self.random.randint(low, high)

    def pick(self, values):
        return self.random.choice(list(values))

    def several(self, values, count):
        return self.random.sample(list(values), count)

    def sentence(self, language="en"):
        pattern = self.pick(SENTENCES[language].splitlines())
        return pattern.format(number=self.number(), day=self.pick(DAYS), month=self.pick(MONTHS.get(language, "-")))

    def paragraph(self, count, language="en"):
        lines = self.several(SENTENCES[language].splitlines(), count)
        return " ".join(line.format(number=self.number(), day=self.pick(DAYS), month=self.pick(MONTHS.get(language, "-")))
                        for line in lines)

    def title(self, language="en"):
        return self.sentence(language).rstrip(".?! ")

    def date(self):
        return f"{self.number(2019, 2031)}-{self.number(1, 12):02}-{self.number(1, 28):02}"

    def time(self):
        return f"{self.number(0, 23):02}:{self.number(0, 59):02}"

    def code(self, count, width=72):
        """Lines of a module of Python's own library, without empty ones at either end."""
        lines = pathlib.Path(self.pick((textwrap, random)).__file__).read_text().splitlines()
        start = self.number(60, len(lines) - count - 60)
        while not lines[start].strip():
            start += 1
        return [line[:width].rstrip() for line in lines[start:start + count]]
