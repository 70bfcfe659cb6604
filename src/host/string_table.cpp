#include "host/string_table.h"

#include <algorithm>
#include <cassert>

#include "host/analysis_support.h"

namespace qrvml {
namespace {

constexpr StringEntry kStrings[] = {
    {100, "Machine Learning "},
    {102, "Lecture des données..."},
    {103,
     "Pas assez d'obs. valides pour cette analyse. Vérifiez attentivement vos variables et filtres "
     "de sélection."},
    {104, "Mémoire insuffisante ; fermez d'autres applications et recommencez."},
    {105, "Aucune variable dans le fichier de données"},
    {106, "Calculs en cours..."},
    {107, "Support Vector Machines"},
    {108, "Réseaux Bayésiens Naïfs"},
    {110, "K Plus Proches Voisins"},
    {116,
     "Au moins une valeur non-entière rencontrée lors du traitement des variables catégorielles. "
     "Seules les valeurs entières sont autorisées pour les variables spécifiées comme des "
     "variables catégorielles pour les analyses. Vérifiez les spécifications de la variable et "
     "ses valeurs."},
    {117, "Sélectionnez au moins une variable indépendante"},
    {119, "Sélectionnez les variables de l'analyse"},
    {120, "Dépend. continue(s) : "},
    {121, "Dépend. catégorielle(s) : "},
    {122, "Prédicteurs continus : "},
    {123, "Prédicteurs catégoriels : "},
    {124, "Codes des prédicteurs"},
    {125, "Au moins un contrôle avec des données incorrectes."},
    {126, "Tous les codes doivent être des entiers"},
    {127, "Codes des réponses"},
    {130, "Impossible de créer la feuille de données ; recommencez."},
    {131, "Prévisions et résidus"},
    {132, "Indépendante"},
    {133, "Dépendante"},
    {135, "Prévues"},
    {136, "Residus"},
    {137, "Précision"},
    {139, "Formulaire de Saisie Personnalisé"},
    {140, "Double-cliquez dans la cellule pour l'éditer"},
    {141, "Valeur"},
    {142, "Indép."},
    {143,
     "Entrée incorrecte pour un prédicteur (indépendant). Les entrées des prédicteurs catégoriels "
     "doivent correspondre à l'une des valeurs-texte ou codes de la variable. Exemple : pour un "
     "prédicteur contenant des valeurs-texte {Homme, Femme} avec des codes {1, 2}, vous pouvez "
     "saisir soit Homme ou Femme (ou leurs valeurs de code 1 ou 2)."},
    {144, "Prévisions perso."},
    {155,
     "Imprécision numérique détectée lors de l'estimation. Vérifiez vos données et recommencez."},
    {156, "Correct"},
    {157, "Incorrect"},
    {158, "Matrice de confusion"},
    {160, "Histogramme de"},
    {162, " Variable dépendante : "},
    {164, " Variable indépendante : "},
    {165, " Variables indépendantes : "},
    {178, ", "},
    {179, "Prévues (lignes) x Observées (colonnes)"},
    {187,
     "Sélectionnez une variable contenant les identifiants d'échantillons et un code identifiant "
     "de façon unique les observations à utiliser dans l'analyse."},
    {188,
     "Toutes les autres observations valides (avec des pondérations positives et respectant les "
     "filtres de sélection) seront considérées comme appartenant à "},
    {189,
     "l'échantillon de test. Pour toutes les observations valides, vous pouvez calculer, "
     "enregistrer et utiliser les valeurs prévues et résidus dans vos analyses ultérieures. "},
    {190, "Spécifications de la Validation Croisée "},
    {191, "Identifiant d'échantillon"},
    {192,
     "Sélectionnez une variable contenant les identifiants d'échantillons et un code pour réaliser "
     "la validation croisée."},
    {193, "Sélectionnez un code pour effectuer la validation croisée."},
    {194,
     "Code de l'échantillon incorrect ; vérifiez les valeurs-texte de la variable contenant les "
     "identifiants d'échantillons."},
    {200,
     "Vous avez affecté une distribution Lognormale à la variable dépendante (d'entrée) %s. Les "
     "variables avec des valeurs négatives ou nulles ne peuvent être modélisées par une "
     "distribution Lognormale."},
    {201,
     "Vous avez affecté une distribution Gamma à la variable dépendante (d'entrée) %s. Les "
     "variables avec des valeurs négatives ne peuvent être modélisées par une distribution "
     "Gamma."},
    {202,
     "Vous avez affecté une distribution de Poisson à la variable dépendante (d'entrée) %s. Les "
     "variables avec des valeurs négatives ne peuvent être modélisées par une distribution de "
     "Poisson."},
    {203,
     "Vous avez affecté une distribution de Poisson à la variable dépendante (d'entrée) %s. Les "
     "variables avec des valeurs non entières ne peuvent être modélisées par une distribution "
     "de Poisson."},
    {205, "Pour réaliser une analyse KNN, vous devez spécifier un échantillon de test."},
    {207, "La valeur des N premières obs. doit être supérieure à 1 et inférieure à %d."},
    {208,
     "Au moins un contrôle avec des données incorrectes. Vérifiez vos paramètres et recommencez."},
    {209, "non"},
    {210, "oui"},
    {211, "L'amorce aléatoire doit être supérieure à 0."},
    {214, "Le nombre max. de plus proches voisins doit être supérieur au minimum."},
    {215, "Effectifs"},
    {216, "Pénalité"},
    {217, "Nom de la classe"},
    {218,
     "Aucune observation d'apprentissage dans l'analyse. Vérifiez vos variables et filtres de "
     "sélection."},
    {219,
     "Aucune observation de test dans l'analyse. Vérifiez vos variables et filtres de sélection et "
     "recommencez."},
    {220,
     "Vous avez sélectionné une variable indépendante catégorielle (entrée) avec une valeur "
     "nominale. Les variables catégorielles doivent contenir au moins 2 étiquettes nominales. "
     "Vérifiez vos données et filtres de sélection puis recommencez."},
    {221,
     "Vous avez sélectionné une variable dépendante catégorielle (sortie) avec une valeur "
     "nominale. Les variables catégorielles doivent contenir au moins 2 étiquettes nominales. "
     "Vérifiez vos données et filtres de sélection puis recommencez."},
    {225, "Classe"},
    {226, "Nom"},
    {227, "Total"},
    {234, "Spécif. du modèle"},
    {235, "Nbre de vars indépendantes"},
    {236, "Type de SVM "},
    {238, "Type de noyau "},
    {240, "Nombre de SVM"},
    {241, "Classification type 1"},
    {242, "Classification type 2"},
    {243, "Régression type 1"},
    {244, "Régression type 2"},
    {245, "Linéaire"},
    {246, "Polynomial"},
    {247, "Fonction Radiale de Base"},
    {248, "Sigmoïde"},
    {249, "Support"},
    {250, "vector"},
    {251, "Coefficients"},
    {252, "_"},
    {253, "Obs."},
    {254, "Confiance"},
    {255, "(%)"},
    {256, "Moy. observée"},
    {257, "Moy. prévues"},
    {259, "Ecarts-types prév."},
    {260, "Erreur moy."},
    {261, "Ec-T. Erreurr"},
    {262, "Erreur abs. moy."},
    {263, "Ratio Ec-T."},
    {264, "Corrélation"},
    {269, "K Optimal"},
    {272, "(Observées)"},
    {273, "(Prévisions)"},
    {274, "(Résidus)"},
    {275, "(Résidus absolus)"},
    {276, "(Résidus au carré)"},
    {277, "Ec-Type Obs."},
    {288, "Itérations... %d"},
    {289, "(Apprentissage)"},
    {290, "(Test)"},
    {291, "(Les 2 sous-ens.)"},
    {292, "Support Vector Machine pour des problèmes de classification et de régression"},
    {293, "Réseaux Bayésiens Naïfs pour des problèmes de classification multiple"},
    {294,
     "K Plus Proches Voisins (KNN) pour des problèmes de classification multiple et de régression "
     "multiple"},
    {296, "Saisissez une taille valide pour l'éch. d'apprentissage."},
    {308,
     "Vous ne pouvez pas utiliser des variables dépendantes (réponse) à la fois continues et "
     "catégorielles. Sélectionnez des variables dépendantes soit continues, soit catégorielles. "
     "Dans ce dernier cas, QUORVANTIS Machine Learning traitera l'analyse comme un problème de "
     "classification. Sinon, elle sera traitée comme un problème de régression. Vous pouvez "
     "toutefois choisir à la fois des prédiceurs continus et catégoriels si besoin. Appuyez sur OK "
     "pour recommencer. "},
    {309, "Initialisation de la validation croisée..."},
    {310, "Validation croisée terminée"},
    {311, "Calcul des statistiques de classification en cours..."},
    {312, "Calcul des statistiques de régression en cours..."},
    {313, "Initialisation de l'apprentissage..."},
    {314, "Apprentissage terminé"},
    {315, "La variable d'échantillon doit être distincte des variables indépendantes/dépendantes."},
    {316, "Cliquez sur une cellule de pénalité en surbrillance pour la modifier"},
    {317, "Seules les cellules en rouge peuvent être modifiées"},
    {322, " vs. "},
    {323, "("},
    {324, ")"},
    {325, "Synthèse du modèle"},
    {333, "Synthèse de la classification"},
    {334, "Synthèse de la régression"},
    {335, "Somme erreur au carré"},
    {342, "Nuage de Points en 2D "},
    {343, "Surface de Réponse"},
    {352, "Mélange des données pour la validation croisée..."},
    {353, "Mélange des données terminé"},
    {354, "Application de la validation croisée..."},
    {355, "Ensemble validation croisée"},
    {356, "borné"},
    {357, "Précision validation croisée (%)"},
    {358, "Erreur validation croisée"},
    {359, "Coefficient de corrélation"},
    {1062, "Langage C/C++"},
    {1063, "QUORVANTIS Visual Basic (QVB)"},
    {1064, "Script PMML"},
};

MessageServices* CurrentMessages() {
  const CAnalysisSupport* analysis = CAnalysisContext::Current();
  return analysis == nullptr ? nullptr : analysis->services().messages;
}

bool Show(int number, std::string_view text) {
  if (MessageServices* messages = CurrentMessages())
    messages->DspMessageBox(BoxType::information, number, text);
  return false;
}

std::string Filled(int number, std::string_view hole, std::string_view value) {
  const std::string_view text = GetResourceString(number);
  const std::size_t place = text.find(hole);
  assert(place != std::string_view::npos && "text does not take such a value");
  std::string filled(text.substr(0, place));
  filled += value;
  filled += text.substr(place + hole.size());
  return filled;
}

}  // namespace

std::span<const StringEntry> StringTable() { return kStrings; }

std::string_view GetResourceString(int number) {
  const auto entry = std::ranges::lower_bound(kStrings, number, {}, &StringEntry::number);
  assert(entry != std::end(kStrings) && entry->number == number && "text missing from the table");
  return entry->text;
}

std::string GetResourceString(int number, long long value) {
  return Filled(number, "%d", std::to_string(value));
}

std::string GetResourceString(int number, std::string_view value) {
  return Filled(number, "%s", value);
}

bool Refuse(int number) { return Show(number, GetResourceString(number)); }

bool Refuse(int number, long long value) { return Show(number, GetResourceString(number, value)); }

bool Refuse(int number, std::string_view value) {
  return Show(number, GetResourceString(number, value));
}

bool RefuseText(std::string_view text) { return Show(0, text); }

bool Confirm(int number) {
  MessageServices* messages = CurrentMessages();
  return messages != nullptr && messages->DspMessageBox(BoxType::okCancel, number,
                                                        GetResourceString(number)) == BoxButton::ok;
}

}  // namespace qrvml
