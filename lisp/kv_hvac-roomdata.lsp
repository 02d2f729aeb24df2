;;; The application layer's room data: each room's construction and use (tblRoomSurface,
;;; tblRoomUse) and the project's design conditions (tblDesign), what the load calculation reads,
;;; with the command KV-ROOMDATA that asks a designer for them room by room.

;; Design conditions a project starts with when it has stored none: 40 N; 95 F outdoors in summer
;; with a 21 F daily range, a room kept at 75 F and 50 %; 99 and 65 grains of moisture per pound of
;; dry air outdoors and indoors; 10 F outdoors in winter, 70 F indoors; supply air at 55 F cooling
;; and 105 F heating.
(setq roomdata-designDefaults
      '(("iLatitude" . 40) ("dOutdoorCooling" . 95.0) ("dDailyRange" . 21.0) ("dIndoorCooling" . 75.0)
        ("dIndoorHumidity" . 50.0) ("dOutdoorGrains" . 99.0) ("dIndoorGrains" . 65.0)
        ("dOutdoorHeating" . 10.0) ("dIndoorHeating" . 70.0) ("dSupplyCooling" . 55.0)
        ("dSupplyHeating" . 105.0)))

;; A room's use when nothing was entered: an office's heat per person (250 Btu/h sensible, 200
;; latent), lights at full use, the method's CLF of 1 (the plant stops at night), occupied from
;; 8 to 18 (the hours ending 9 am to 6 pm).
(setq roomdata-useDefaults
      '(("dArea" . 0.0) ("dPeople" . 0.0) ("dPeopleSensible" . 250.0) ("dPeopleLatent" . 200.0)
        ("dLights" . 0.0) ("dLightsFactor" . 1.0) ("dEquipment" . 0.0) ("dEquipmentLatent" . 0.0)
        ("dCLF" . 1.0) ("iOccupiedFrom" . 8) ("iOccupiedTo" . 18) ("dInfiltration" . 0.0)
        ("dOutdoorAir" . 0.0)))

;; The columns of a surface, in the order of a surface list (kind orientation number area U SC
;; zoneType coolingDifference heatingDifference), and what a short list leaves for the rest.
(setq roomdata-surfaceColumns
      '("sKind" "sOrientation" "iNumber" "dArea" "dU" "dSC" "sZoneType" "dCoolingDifference"
        "dHeatingDifference")
      roomdata-surfaceDefaults '("WALL" "N" 1 0.0 0.0 1.0 "A" 0.0 0.0)
      roomdata-kinds '("WALL" "GLASS" "ROOF" "DOOR" "PARTITION" "FLOOR"))

;; A number or text as a SQL literal; nil is NULL.
(defun roomdata-sql (x)
  (cond ((null x) "NULL")
        ((eq (type x) 'STR) (strcat "'" (room-hvac-quote x) "'"))
        ((eq (type x) 'INT) (itoa x))
        (T (rtos x 2 6))))

;; SQL that reads COLUMNS of TABLE as one LISP-readable text per row: numbers as they are, texts
;; in double quotes, nulls as nil. Numbers go through text explicitly, which every engine of the
;; project database accepts (a server refuses to join a number with a text).
(defun roomdata-rowSql (table columns where / parts)
  (foreach c columns
    (setq parts (cons (if (= (substr c 1 1) "s")
                        (strcat "coalesce('\"' || " c " || '\"', 'nil')")
                        (strcat "coalesce(CAST(" c " AS TEXT), 'nil')"))
                      (cons " || ' ' || " parts))))
  (strcat "SELECT '(' || " (apply 'strcat (cdr (reverse parts))) " || ')' AS r FROM " table " " where))

;; The value X read for COLUMN: a real column's whole number written without a point (as a server
;; writes it) is still a real, so that no later division truncates.
(defun roomdata-typed (column x)
  (if (and (= (substr column 1 1) "d") (numberp x)) (float x) x))

;; Every row of TABLE matching WHERE as an association list over COLUMNS.
(defun roomdata-rows (table columns where / file)
  (if (setq file (projectdb-currentFile))
    (mapcar '(lambda (text) (mapcar '(lambda (c x) (cons c (roomdata-typed c x))) columns (read text)))
            (kvdb-query file (roomdata-rowSql table columns where) "r"))))

;; DEFAULTS with the values of ALIST put in for the names both hold.
(defun roomdata-merge (defaults alist / found)
  (mapcar '(lambda (pair)
             (if (setq found (assoc (car pair) alist)) (cons (car pair) (cdr found)) pair))
          defaults))

;; The project's design conditions as an association list, stored values over the defaults.
(defun roomdata-design ()
  (roomdata-merge roomdata-designDefaults
                  (car (roomdata-rows "tblDesign" (mapcar 'car roomdata-designDefaults) "ORDER BY ixDesign"))))

;; Stores the design conditions ALIST (any of the names of the defaults) over those in force.
(defun roomdata-setDesign (alist / values file)
  (setq values (roomdata-merge (roomdata-design) alist))
  (if (setq file (projectdb-currentFile))
    (kvdb-execute file (strcat "DELETE FROM tblDesign; " (roomdata-insert "tblDesign" values))))
  values)

;; INSERT of the association list VALUES into TABLE.
(defun roomdata-insert (table values)
  (strcat "INSERT INTO " table " (" (roomdata-join (mapcar 'car values) ", ") ") VALUES ("
          (roomdata-join (mapcar '(lambda (p) (roomdata-sql (cdr p))) values) ", ") ")"))

;; The texts of STRINGS with SEPARATOR between them.
(defun roomdata-join (strings separator)
  (if strings
    (apply 'strcat (cons (car strings) (apply 'append (mapcar '(lambda (s) (list separator s)) (cdr strings)))))
    ""))

;; A surface list filled up to all its columns, its texts in capitals.
(defun roomdata-fullSurface (surface / out i)
  (setq i 0)
  (foreach d roomdata-surfaceDefaults
    (setq out (cons (if (< i (length surface)) (nth i surface) d) out)
          i (1+ i)))
  (setq out (mapcar '(lambda (x) (if (eq (type x) 'STR) (strcase x) x)) (reverse out))))

;; Why SURFACE cannot be stored, or nil when it can.
(defun roomdata-surfaceProblem (surface)
  (cond ((not (member (car surface) roomdata-kinds))
         (strcat "unknown surface kind " (vl-prin1-to-string (car surface))))
        ((or (not (numberp (nth 3 surface))) (minusp (nth 3 surface))) "an area must be a number of 0 or more")
        ((or (not (numberp (nth 4 surface))) (minusp (nth 4 surface))) "a U-factor must be a number of 0 or more")
        ((and (member (car surface) '("WALL" "DOOR" "GLASS")) (not (member (cadr surface) roomdata-facings)))
         "a wall, door or glass needs a facing such as \"S\" or \"WNW\"")
        ((and (member (car surface) '("WALL" "DOOR")) (not (member (caddr surface) '(1 2 3 4 5 6 7 9 10 11 12 13 14 15 16))))
         "wall numbers are 1 to 16 without 8")
        ((and (= (car surface) "GLASS") (not (member (nth 6 surface) '("A" "B" "C" "D"))))
         "glass needs a zone type from A to D")))

;; The facings the curves know: the sixteen compass points.
(setq roomdata-facings '("N" "NNE" "NE" "ENE" "E" "ESE" "SE" "SSE" "S" "SSW" "SW" "WSW" "W" "WNW" "NW" "NNW"))

;; Stores room IX's use (an association list over the names of roomdata-useDefaults; the rest
;; take the defaults) and its SURFACES (lists: kind orientation number area U [SC zoneType
;; coolingDifference heatingDifference]), replacing what the room had, in one transaction so that
;; a failure leaves the old data whole. Answers T, or nil with the reason printed.
(defun roomdata-setRoom (ix use surfaces / file full problem sql)
  (setq full (mapcar 'roomdata-fullSurface surfaces))
  (foreach s full (if (null problem) (setq problem (roomdata-surfaceProblem s))))
  (cond
    ((null (setq file (projectdb-currentFile))) (princ "\nNo project database: room data not stored.") nil)
    (problem (princ (strcat "\nRoom " (itoa ix) ": " problem "; nothing stored.")) nil)
    (T
     (setq sql (list (roomdata-insert "tblRoomUse" (cons (cons "ixRoomL" ix) (roomdata-merge roomdata-useDefaults use)))
                     (strcat "DELETE FROM tblRoomUse WHERE ixRoomL = " (itoa ix)
                             "; DELETE FROM tblRoomSurface WHERE ixRoomL = " (itoa ix) "; ")))
     (foreach s full
       (setq sql (cons (strcat "; " (roomdata-insert "tblRoomSurface" (cons (cons "ixRoomL" ix) (mapcar 'cons roomdata-surfaceColumns s))))
                       sql)))
     (kvdb-execute file (apply 'strcat (reverse sql)))
     T)))

;; Room IX's data as (use surfaces): the use as an association list, the surfaces as lists in the
;; order of roomdata-surfaceColumns, in the order entered; nil when none was entered.
(defun roomdata-room (ix / where use)
  (setq where (strcat "WHERE ixRoomL = " (itoa ix)))
  (if (setq use (car (roomdata-rows "tblRoomUse" (mapcar 'car roomdata-useDefaults) where)))
    (list use
          (mapcar '(lambda (row) (mapcar 'cdr row))
                  (roomdata-rows "tblRoomSurface" roomdata-surfaceColumns (strcat where " ORDER BY ixRoomSurface"))))))

;; ---- Prompts ---------------------------------------------------------------------------------

;; A number typed at PROMPT; Enter keeps DEFAULT. Text that is no number asks again.
(defun roomdata-askReal (prompt default / text value)
  (while (null value)
    (setq text (vl-string-trim " " (getstring T (strcat "\n" prompt " <" (roomdata-show default) ">: "))))
    (cond ((= text "") (setq value default))
          ((setq value (distof text 2)))
          (T (princ "\nRequires a number."))))
  value)

;; One of KEYWORDS typed at PROMPT, whole or by a leading part, in any case (a whole keyword wins,
;; so "S" is south and not "SE"); Enter keeps DEFAULT. Anything else asks again.
(defun roomdata-askKeyword (prompt keywords default / text found)
  (while (null found)
    (setq text (strcase (vl-string-trim " " (getstring T (strcat "\n" prompt " [" (roomdata-join keywords "/")
                                                              "] <" default ">: ")))))
    (cond ((= text "") (setq found default))
          ((setq found (vl-some '(lambda (k) (if (= (strcase k) text) k)) keywords)))
          ((setq found (vl-some '(lambda (k) (if (= (substr (strcase k) 1 (strlen text)) text) k)) keywords)))
          (T (princ "\nInvalid option keyword."))))
  found)

(defun roomdata-show (x)
  (cond ((eq (type x) 'STR) x) ((eq (type x) 'INT) (itoa x)) (T (rtos x 2 2))))

;; Asks for one surface of KIND; answers its list.
(defun roomdata-askSurface (kind / orientation number area u sc zone cool heat)
  (if (member kind '("WALL" "GLASS" "DOOR"))
    (setq orientation (strcase (roomdata-askKeyword "Facing" '("N" "NE" "E" "SE" "S" "SW" "W" "NW") "S"))))
  (if (member kind '("WALL" "DOOR" "ROOF"))
    (setq number (fix (roomdata-askReal (if (= kind "ROOF") "Roof number (1-14)" "Wall number (1-16)") 1))))
  (setq area (roomdata-askReal "Area (sf)" 100.0)
        u (roomdata-askReal "U-factor (Btu/h sf F)" (cdr (assoc kind '(("WALL" . 0.08) ("GLASS" . 0.55) ("ROOF" . 0.06)
                                                                          ("DOOR" . 0.4) ("PARTITION" . 0.3) ("FLOOR" . 0.1))))))
  (if (= kind "GLASS")
    (setq sc (roomdata-askReal "Shading coefficient" 0.6)
          zone (roomdata-askKeyword "Zone type" '("A" "B" "C" "D") "B")))
  (if (member kind '("PARTITION" "FLOOR"))
    (setq cool (roomdata-askReal "Temperature difference to the next space, cooling (F)" 5.0)
          heat (roomdata-askReal "Temperature difference to the next space, heating (F)" 20.0)))
  (list kind orientation (if number number 0) area u (if sc sc 1.0) zone (if cool cool 0.0) (if heat heat 0.0)))

;; Asks for room IX's use and surfaces, starting from what it has; answers (use surfaces).
(defun roomdata-ask (ix drawnArea / old use surfaces choice)
  (setq old (roomdata-room ix)
        use (roomdata-merge roomdata-useDefaults (car old))
        surfaces (cadr old))
  (if (and (zerop (cdr (assoc "dArea" use))) drawnArea)
    (setq use (subst (cons "dArea" drawnArea) (assoc "dArea" use) use)))
  (foreach q '(("dArea" . "Floor area (sf)") ("dPeople" . "People") ("dLights" . "Lights (W)")
               ("dEquipment" . "Equipment (W)") ("dInfiltration" . "Infiltration (cfm)")
               ("dOutdoorAir" . "Outdoor air (cfm)"))
    (setq use (subst (cons (car q) (roomdata-askReal (cdr q) (cdr (assoc (car q) use)))) (assoc (car q) use) use)))
  (princ (strcat "\nThe room has " (itoa (length surfaces)) " surfaces."))
  (while (/= "Done" (setq choice (roomdata-askKeyword "Add a surface" '("Wall" "Glass" "Roof" "Door" "Partition" "Floor" "Clear" "Done") "Done")))
    (if (= choice "Clear")
      (setq surfaces nil)
      (setq surfaces (append surfaces (list (roomdata-askSurface (strcase choice)))))))
  (list use surfaces))

;; Command KV-ROOMDATA: the construction and use of the room picked. Enter keeps each value shown;
;; Esc at any prompt leaves the room's data as it was.
(defun c:kv-roomData (/ point ix e answer)
  (cond
    ((null (setq point (vl-catch-all-apply 'getpoint (list "\nPick a room: ")))))
    ((vl-catch-all-error-p point) (princ "\nCancelled."))
    ((null (setq ix (kv_hvac-room-find point))) (princ "\nNo room there."))
    ((vl-catch-all-error-p (setq e (room-hvac-entity ix)
                                 answer (vl-catch-all-apply 'roomdata-ask
                                                            (list ix (if e (/ (kv_hvac-room-getArea e) 144.0))))))
     (princ "\nCancelled: the room's data is unchanged."))
    ((roomdata-setRoom ix (car answer) (cadr answer))
     (princ (strcat "\nRoom " (itoa ix) ": " (itoa (length (cadr answer))) " surfaces stored."))))
  (princ))
