// French for the texts of the program around the analyses, which writes them in English: why a file,
// a condition or a request is refused. A text is made of the parts below, {0}, {1}… standing for
// names and numbers of the data; a part without a translation stays as it is.
export const hostTexts: [string, string][] = [
  // places in a file
  [', line {0}, column {1}: ', ', ligne {0}, colonne {1} : '],
  [', line {0}: ', ', ligne {0} : '],
  ['warning: ', 'attention : '],

  // conditions, weights
  ['the selection condition ({0}) is refused: ', 'la condition de sélection ({0}) est refusée : '],
  [
    "A condition is one expression over the variables, such as: age >= 18 AND sex = 'F'",
    "Une condition est une expression sur les variables, telle que : age >= 18 AND sex = 'F'",
  ],
  [
    'Texts stand in single quotes, names of variables in none or in double quotes',
    'Les textes sont entre apostrophes, les noms de variables sans rien ou entre guillemets doubles',
  ],
  ['there is no variable whose name begins with "{0}"', 'aucune variable ne commence par "{0}"'],
  [
    'A name with other signs than letters, digits and _ stands in double quotes',
    'Un nom avec d’autres signes que lettres, chiffres et _ est entre guillemets doubles',
  ],
  [
    'the condition takes one value over all cases, such as a mean or a count',
    'la condition prend une valeur sur toutes les observations, telle une moyenne ou un effectif',
  ],
  ['Write OVER () behind it: x > avg(x) OVER ()', 'Ajoutez OVER () : x > avg(x) OVER ()'],
  ['there is no function "{0}"', 'il n’y a pas de fonction "{0}"'],
  ['the condition reads a table of its own', 'la condition lit une autre table'],
  ['a text is compared with a number', 'un texte est comparé à un nombre'],
  [
    'Compare a text variable with a text in single quotes: ',
    'Comparez une variable de texte à un texte entre apostrophes : ',
  ],
  [
    'the condition ends early, or has a bracket too many',
    'la condition s’arrête trop tôt, ou a une parenthèse de trop',
  ],
  ['the condition holds more than one statement', 'la condition contient plusieurs instructions'],
  ['the condition is more than one expression', 'la condition a plusieurs expressions'],
  [
    'the condition holds a query of its own (SELECT)',
    'la condition contient sa propre requête (SELECT)',
  ],
  [
    'For a value over all cases write OVER () behind it: ',
    'Pour une valeur sur toutes les observations, ajoutez OVER () : ',
  ],
  [
    'the condition holds a * that stands for all variables',
    'la condition contient un * qui désigne toutes les variables',
  ],
  ['Name the variables one by one', 'Nommez les variables une à une'],
  [
    'The same condition has to select the same cases whenever it is evaluated',
    'Une condition doit toujours retenir les mêmes observations',
  ],
  [
    'the condition does not give one result for each case',
    'la condition ne donne pas un résultat par observation',
  ],
  [
    'the variable "{0}" holds texts and cannot be a case weight',
    'la variable "{0}" contient des textes et ne peut servir de pondération',
  ],
  [
    'A case weight is a variable whose values are all numbers',
    'Une pondération est une variable dont toutes les valeurs sont des nombres',
  ],
  ['there is no variable number ', 'il n’y a pas de variable numéro '],
  ['there is no variable "', 'il n’y a pas de variable "'],

  // files that are read
  ['the file is empty', 'le fichier est vide'],
  ['the file holds blank lines only', 'le fichier n’a que des lignes vides'],
  [
    'The first line holds the names of the variables',
    'La première ligne contient les noms des variables',
  ],
  ['the row has {0} fields instead of ', 'la ligne a {0} champs au lieu de '],
  ['the row has {0} field instead of ', 'la ligne a {0} champ au lieu de '],
  [
    'Every row needs as many fields as the header has names; a field that holds the delimiter stands in double quotes',
    'Chaque ligne a autant de champs que l’en-tête a de noms ; un champ qui contient le délimiteur est entre guillemets doubles',
  ],
  [
    'the double quote that opens this field is not closed',
    'le guillemet qui ouvre ce champ n’est pas fermé',
  ],
  [
    'A quoted field ends with a double quote; a double quote inside it is doubled',
    'Un champ entre guillemets finit par un guillemet ; un guillemet intérieur est doublé',
  ],
  ['there is text behind the closing double quote', 'un texte suit le guillemet fermant'],
  [
    'The delimiter follows a quoted field; a double quote inside the field is doubled',
    'Le délimiteur suit un champ entre guillemets ; un guillemet intérieur est doublé',
  ],
  ['the line is not valid UTF-8', 'la ligne n’est pas de l’UTF-8'],
  [
    'Leave the encoding open, or name windows-1252',
    'Laissez l’encodage automatique, ou choisissez windows-1252',
  ],
  ['columns {0} and {1} have the same name "', 'les colonnes {0} et {1} portent le même nom "'],
  ['Give every column a name of its own', 'Donnez à chaque colonne son propre nom'],
  ['the file was changed while it was read', 'le fichier a été modifié pendant la lecture'],
  ['Open it again', 'Ouvrez-le de nouveau'],
  ['this is {0}, which cannot be read', 'ceci est {0}, qui ne peut être lu'],
  [
    'Save the data as delimited text (CSV) in UTF-8',
    'Enregistrez les données en texte délimité (CSV) en UTF-8',
  ],
  [
    'this is not {0}, though its name ends in ',
    'ceci n’est pas {0}, bien que son nom finisse par ',
  ],
  [
    'Check where the file comes from, or give it the extension of its format',
    'Vérifiez d’où vient le fichier, ou donnez-lui l’extension de son format',
  ],
  ['an old or encrypted Excel workbook', 'un classeur Excel ancien ou chiffré'],
  ['an Excel workbook', 'un classeur Excel'],
  ['a compressed SPSS file', 'un fichier SPSS compressé'],
  ['a portable SPSS file', 'un fichier SPSS portable'],
  ['an SPSS file', 'un fichier SPSS'],
  ['a SAS transport file', 'un fichier SAS de transport'],
  ['a SAS file', 'un fichier SAS'],
  ['a Stata file', 'un fichier Stata'],
  ['a Parquet file', 'un fichier Parquet'],
  ['an SQLite database', 'une base de données SQLite'],
  ['a compressed file (gzip)', 'un fichier compressé (gzip)'],
  ['a text in UTF-16', 'un texte en UTF-16'],
  ['the file cannot be read: ', 'le fichier ne peut être lu : '],
  ['there is no such file', 'ce fichier n’existe pas'],
  ['Check the name and the folder', 'Vérifiez le nom et le dossier'],
  ['there is not enough memory for the data', 'la mémoire ne suffit pas pour les données'],
  [
    '"{0}" is no file of the folders that can be used here',
    '"{0}" n’est pas un fichier des dossiers utilisables ici',
  ],
  [
    'the file is too large, alone or with those that are open, was cut off or cannot be kept',
    'le fichier est trop grand, seul ou avec ceux qui sont ouverts, a été interrompu ou ne peut être gardé',
  ],

  [
    ' is left out: its cells are no single values',
    ' est omise : ses cellules ne sont pas des valeurs simples',
  ],
  ['The documents in the file are not kept', 'Les documents du fichier ne sont pas gardés'],
  [
    ' holds dates and plain numbers; all are shown as numbers',
    ' contient des dates et de simples nombres ; tous sont montrés en nombres',
  ],
  [
    ': the labels that the file gives to its texts are not kept',
    ' : les libellés que le fichier donne à ses textes ne sont pas gardés',
  ],

  // data below open results
  [
    'The data file has changed and was read again.',
    'Le fichier de données a changé et a été relu.',
  ],
  [
    'The selection conditions, the weights or the case names of the data have changed.',
    'Les conditions de sélection, les poids ou les noms des observations ont changé.',
  ],
  [
    'Back to the settings, so that the model is trained on the new data?',
    'Revenir aux options, pour que le modèle soit ajusté aux nouvelles données ?',
  ],
  [
    'The results belong to the data as they were before',
    'Les résultats portent sur les données d’avant',
  ],
  [
    'The data have changed: train the model again',
    'Les données ont changé : recommencez l’apprentissage',
  ],
  [
    ': it was read again, and the analysis starts over',
    ' : il a été relu, et l’analyse recommence',
  ],
  [' has changed since it was opened and ', ' a changé depuis son ouverture et '],
  [' has changed since it was opened', ' a changé depuis son ouverture'],
  [
    'its reading was cancelled, the data in memory stay as they were',
    'sa lecture a été annulée, les données en mémoire restent les mêmes',
  ],
  [
    'cannot be read again, the data in memory stay as they were',
    'ne peut être relu, les données en mémoire restent les mêmes',
  ],

  // files that are written
  ['the name of a saved file ends in ', 'le nom d’un fichier enregistré finit par '],
  ['" is a folder', '" est un dossier'],
  ['there is no folder ', 'il n’y a pas de dossier '],
  ['The folder of a new file must exist', 'Le dossier d’un nouveau fichier doit exister'],
  ['the file cannot be written: ', 'le fichier ne peut être écrit : '],
  ['the file cannot be completed: ', 'le fichier ne peut être achevé : '],
  ['nothing can be written into ', 'rien ne peut être écrit dans '],
  ['a {0} file does not hold ', 'un fichier {0} ne garde pas '],
  ['the codes behind the texts of ', 'les codes des textes de '],
  ['the labels of ', 'les libellés de '],
  [
    'the full names take the place of the long names of ',
    'les noms complets remplacent les noms longs de ',
  ],
  ['the long names of ', 'les noms longs de '],
  [
    'the missing-data codes (their cells are empty) of ',
    'les codes de VM (leurs cellules sont vides) de ',
  ],
  [
    ' is there already, the new variable is named "',
    ' existe déjà, la nouvelle variable se nomme "',
  ],

  // notes of the module and reasons of its numeric faults
  ['note: ', 'remarque : '],
  [
    'training stopped at the iteration limit (MaxNoOfIterations = {0}) in {1} of {2} decision functions, short of the stopping accuracy',
    'l’apprentissage s’est arrêté à la limite d’itérations (MaxNoOfIterations = {0}) pour {1} fonctions de décision sur {2}, avant la précision demandée',
  ],
  [
    'the model predicts {0}, the first of {1} dependents, alone',
    'le modèle ne prévoit que {0}, la première des {1} variables dépendantes',
  ],
  [
    'VValue = 1 holds out all cases and leaves none to train on; take 2 or more',
    'VValue = 1 met toutes les observations de côté et n’en laisse aucune pour l’apprentissage ; prenez 2 ou plus',
  ],
  [
    'this nu holds all cases of a class at one bound, where the constants of the model are undefined; take another',
    'ce nu tient toutes les observations d’une classe à une même borne, où les constantes du modèle ne sont pas définies ; prenez-en un autre',
  ],

  // requests
  ['this is not possible now', 'ce n’est pas possible maintenant'],
  ['the dialog has changed, or something runs', 'la boîte a changé, ou un calcul est en cours'],
  ['one variable is needed', 'il faut une variable'],
  ['an analysis of this file is open', 'une analyse de ce fichier est ouverte'],
  ['{0} analyses are open; close one first', '{0} analyses sont ouvertes ; fermez-en une'],
  ['too many pages are open', 'trop de pages sont ouvertes'],
  ['unknown variable "', 'variable inconnue "'],
];

interface Part {
  pattern: RegExp;
  text: string;
}
let parts: Part[] | undefined;

/** A text of the program in French, as far as its parts are known. */
export function inFrench(text: string): string {
  parts ??= hostTexts.map(([english, french]) => {
    const pieces = english
      .split(/\{\d\}/)
      .map(piece => piece.replace(/[.*+?^${}()|[\]\\]/g, '\\$&'));
    const holes = french
      .replaceAll('$', '$$$$')
      .replace(/\{(\d)\}/g, (_, i) => `$${Number(i) + 1}`);
    return { pattern: new RegExp(pieces.join('(.+?)'), 'g'), text: holes };
  });
  return parts.reduce((now, { pattern, text: french }) => now.replace(pattern, french), text);
}
