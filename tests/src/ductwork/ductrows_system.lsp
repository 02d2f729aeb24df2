;;; A small supply system in a new project: a main with an elbow, a transition, a tee, a wye, an
;;; offset, a riser and a flexible branch to a diffuser. Rows are made the module's way, the
;;; ducts are drawn and the rows brought in step by the application layer, the graph is the
;;; layer's, and the fitting at every end is checked against the rules. Then every field of
;;; kv_hvac-setDuctInfo is set and read back from the entity and from the row, and the layer's
;;; answers that fail or go round in circles are tried. Exit 1 when a result is wrong.

(setq failures 0)
(defun check (name ok)
  (if (not ok) (progn (princ (strcat "\nFAIL " name)) (setq failures (1+ failures))))
  ok)

(setq file (projectdb-currentFile))
(check "a project file for the new folder" file)

(defun sql (text) (kvdb-execute file text))
(defun column (ix name) (car (kvdb-query file (strcat "SELECT " name " FROM tblDuct WHERE ixDuct = " (itoa ix)))))

;; Square elbows with turning vanes for rectangular ducts; round ducts keep the new project's
;; radius elbow, whose radius is stored as a number and so reads as no text.
(sql "UPDATE tblGlobal SET sText = \"0\" WHERE sKey = \"AUTOFIT-RC2\"")

;; A new duct without a template takes the project's settings, which the layer gives.
(duct-setSettings '(("SHAPE" "RC") ("WIDTH" 24.0) ("DEPTH" 12.0) ("Z1" 108.0) ("AIRFLOW" "sa")))

;; A duct from P1 to P2: its row made by the module (from TEMPLATE's row, or from the settings),
;; its entity drawn, and the row's ends brought in step with the entity by the layer.
(defun duct (p1 p2 template / ix)
  (setq ix (kvtest-newDuct template))
  (entmake (list '(0 . "KVDUCT") '(100 . "KvDuct") (cons 10 p1) (cons 11 p2) (cons 90 ix) '(1 . "X")))
  (ducts-rowFromEntity (entlast))
  ix)

(ductgraph-reset)
(setq d1 (duct '(0.0 0.0 108.0) '(100.0 0.0 108.0) nil))
(check "the settings made the first row"
  (and (= (column d1 "SHAPE") "RC") (= (column d1 "WIDTH") 24.0) (= (column d1 "Z2") 108.0)))
(setq d2 (duct '(100.0 0.0 108.0) '(100.0 100.0 108.0) d1))
(setq d3 (duct '(100.0 100.0 108.0) '(100.0 200.0 108.0) d2))
(sql (strcat "UPDATE tblDuct SET WIDTH = 18 WHERE ixDuct = " (itoa d3)))
(setq d4 (duct '(100.0 200.0 108.0) '(100.0 300.0 108.0) d3))
(setq d5 (duct '(100.0 200.0 108.0) '(200.0 200.0 108.0) d3))
(setq d6 (duct '(100.0 300.0 108.0) '(150.0 350.0 108.0) d4))
(setq d7 (duct '(100.0 300.0 108.0) '(50.0 350.0 108.0) d4))
(sql (strcat "UPDATE tblDuct SET SHAPE = \"rd\", WIDTH = 10, DEPTH = 10 WHERE ixDuct = " (itoa d6)))
(setq d13 (duct '(150.0 350.0 108.0) '(150.0 450.0 108.0) d6))
;; The offset: two 45 degree turns that move the run sideways.
(setq d8 (duct '(200.0 200.0 108.0) '(250.0 250.0 108.0) d5))
(setq d9 (duct '(250.0 250.0 108.0) '(350.0 250.0 108.0) d5))
;; The riser, and the run at its top.
(setq d10 (duct '(350.0 250.0 108.0) '(350.0 250.0 200.0) d9))
(setq d11 (duct '(350.0 250.0 200.0) '(450.0 250.0 200.0) d9))
;; The flexible branch to a diffuser.
(setq d12 (duct '(50.0 350.0 108.0) '(0.0 400.0 108.0) d7))
(sql (strcat "UPDATE tblDuct SET MATERIAL = \"FX\", SHAPE = \"rd\", WIDTH = 8, DEPTH = 8 WHERE ixDuct = " (itoa d12)))
(sql (strcat "INSERT INTO tblDiffL (ixDiffS, ixDuct, ixLayerSystem, AIRFLOW, bDisplayCallout, bFlipCalloutArrow,"
             " CFM, TILT, CONTYPE, X, Y, Z, ROTATION, DRAWING, bDeleted, iAlignmentPointNumber) VALUES"
             " (1, " (itoa d12) ", 0, \"sa\", 0, 0, 150, 0, \"T\", 0, 400, 108, 0, \"system.dwg\", 0, 0)"))

(foreach link (list (list d1 d2) (list d2 d3) (list d3 d4) (list d3 d5) (list d4 d6) (list d4 d7)
                    (list d6 d13) (list d5 d8) (list d8 d9) (list d9 d10) (list d10 d11) (list d7 d12))
  (check "a link of the graph" (ductgraph-connect (car link) (cadr link))))
(check "a duct never follows itself" (not (ductgraph-connect d1 d1)))

;; The fitting at every end, by the rules: what follows, how it turns, the section, the options.
(foreach expected
  (list
    (list "main into the first turn: square elbow with vanes" d1 '("SQUARE ELBOW" "YES"))
    (list "in line to a smaller size: transition" d2 '("TRANSITION" ""))
    (list "one outlet straight on, one at 90: tee by option" d3 '("asym_branch" ""))
    (list "two outlets at 45 each side: wye" d4 '("WYE" ""))
    (list "a round duct's turn reads the round option" d6 '("RADIUS ELBOW" ""))
    (list "first turn of the offset" d5 '("SQUARE ELBOW" "YES"))
    (list "second turn of the offset" d8 '("SQUARE ELBOW" "YES"))
    (list "into the riser" d9 '("SQUARE ELBOW" "YES"))
    (list "out of the riser" d10 '("SQUARE ELBOW" "YES"))
    (list "nothing after the top run" d11 '("END" ""))
    (list "in line into the flexible branch" d7 '("TRANSITION" ""))
    (list "the flexible branch ends at its diffuser" d12 '("END" ""))
    (list "nothing after the round branch" d13 '("END" "")))
  (check (car expected) (equal (kvtest-fitting (cadr expected)) (caddr expected))))
(check "the diffuser at the flexible branch's end"
  (= (kvtest-diffuser d12) (car (kvdb-query file "SELECT ixDiffL FROM tblDiffL"))))
(check "no diffuser at the main's end" (null (kvtest-diffuser d1)))

;; Every field through kv_hvac-setDuctInfo, read back from the entity.
(setq e1 (car (ssgetx-duct d1)))
(check "set every field"
  (kv_hvac-setDuctInfo e1
    (list (list "P1" '(0.0 0.0 108.0)) (list "P2" '(100.0 0.0 108.0)) (list "ixDuct" d1)
          (list "Z1" 110.0) (list "Z2" 112.0) (list "SIZEFOR" "W") (list "DWG" "upper.dwg")
          (list "DWGSTART" T) (list "DWGEND" nil) (list "REVERSEARROWS" T)
          (list "HANGERDIST" 12.0 -48.0 "x" 84) (list "NOSUCHKEY" 1)
          (list "bLockWidth" T) (list "bLockDepth" nil) (list "bLockShape" T))))
(setq data (entget e1))
(check "start with its new elevation" (equal (cdr (assoc 10 data)) '(0.0 0.0 110.0) 1e-9))
(check "end with its new elevation" (equal (cdr (assoc 11 data)) '(100.0 0.0 112.0) 1e-9))
(check "index kept" (= (cdr (assoc 90 data)) d1))
(check "sizing letter" (= (cdr (assoc 1 data)) "W"))
(check "linked drawing" (= (cdr (assoc 2 data)) "upper.dwg"))
(check "link flags" (and (= (cdr (assoc 91 data)) 1) (= (cdr (assoc 92 data)) 0)))
(check "hangers, the string passed over"
  (equal (kv_hvac-duct-getHangerList e1) '(("d" . 12.0) ("d" . -48.0) ("d" . 84.0))))
(check "locks and arrows" (equal (kvtest-ductFlags e1) '(T nil T T)))
(check "the row is not touched by setting the entity" (= (column d1 "Z1") 108.0))
;; ... and from the row, once the layer brings it in step.
(check "row in step" (ducts-rowFromEntity e1))
(check "row elevations" (and (= (column d1 "Z1") 110.0) (= (column d1 "Z2") 112.0)))
(check "row sizing letter and far drawing"
  (and (= (column d1 "SIZEFOR") "W") (= (column d1 "DRAWING2") "upper.dwg")))

;; A row that takes its section from upstream; then its upstream row goes missing.
(setq d14 (duct '(450.0 250.0 200.0) '(550.0 250.0 200.0) d11))
(sql (strcat "UPDATE tblDuct SET WIDTH = 30, DEPTH = 10, SHAPE = \"RC\", LINING = 1 WHERE ixDuct = " (itoa d11)))
(sql (strcat "UPDATE tblDuct SET OFFSET = \"p\", SHAPE = \"rd\", WIDTH = 6, LINING = 0 WHERE ixDuct = " (itoa d14)))
(ductgraph-connect d11 d14)
(check "inherited section, lining added once" (equal (kvtest-ductRecord d14) '(32.0 12.0 "RC")))
(ductgraph-put "prev" d14 99999)
(check "a missing upstream row fails the read" (null (kvtest-ductRecord d14)))
(ductgraph-put "prev" d14 d14)
(check "a row that names itself upstream is a row of its own" (equal (kvtest-ductRecord d14) '(6.0 12.0 "rd")))

;; Risers that lead back to themselves end in the default frame: straight on, no hang.
(setq r1 (duct '(600.0 0.0 0.0) '(600.0 0.0 100.0) d1))
(setq r2 (duct '(600.0 0.0 100.0) '(600.0 0.0 200.0) d1))
(ductgraph-connect r1 r2)
(ductgraph-connect r2 r1)
(check "a loop of risers" (equal (kvtest-fitting r1) '("TRANSITION" "")))
;; A layer that names a duct as its own neighbour, and one that cannot be asked at all.
(setq layerNext getNextDuctsTransparent layerPrev getPrevDuct)
(defun getNextDuctsTransparent (ix unused transparent) (list ix ix 0))
(defun getPrevDuct (ix unused) ix)
(check "its own neighbour, as a tee with itself" (equal (kvtest-fitting r1) '("asym_branch" "")))
(setq getNextDuctsTransparent nil)  ; no such function: acedInvoke fails
(check "neighbours that cannot be asked stop the choice" (null (kvtest-fitting d1)))
(setq getNextDuctsTransparent layerNext getPrevDuct layerPrev)
(check "the layer back" (equal (kvtest-fitting d1) '("SQUARE ELBOW" "YES")))

(if (> failures 0) (exit 1))
(princ "\nducts: all checks passed")
