// Uses: player
// Reads watch pages that assign the player's object in an inline script. The page's addresses may
// be https; from this site the program fetches by http only, so they are rewritten.
var fetchesHttpsAsHttp = true;
streamList([readPlayer], "");
