;;; The commands a designer types: the project, rooms and their editing, ducts, diffusers sized
;;; by the air a room needs, the model, the data dialogs and the exports. Each prompts on the
;;; command line; Enter takes the default shown in <>, Esc leaves the command with nothing done
;;; beyond what was already confirmed.

;;; ---- prompts ----

;; A pick, or nil for Enter or Esc.
(defun cmd-hvac-pick (prompt) (duct-nextPick nil prompt))

;; The keyword of KEYWORDS that TYPED names: the whole word or its first letters, any case.
;; Nil when none or several do.
(defun cmd-hvac-matchKeyword (typed keywords / found)
  (setq typed (strcase (vl-string-trim " " typed)))
  (foreach kw keywords
    (if (and (> (strlen typed) 0) (= (substr (strcase kw) 1 (strlen typed)) typed))
      (setq found (cons kw found))))
  (if (= (length found) 1) (car found)))

;; Asks for one of KEYWORDS at PROMPT until one is named. Enter gives DEFAULT, Esc gives nil.
(defun cmd-hvac-keyword (prompt keywords default / typed answer done)
  (while (not done)
    (setq typed (vl-catch-all-apply 'getstring (list T prompt)))
    (cond
      ((not (eq (type typed) 'STR)) (setq done T answer nil))
      ((= (vl-string-trim " " typed) "") (setq done T answer default))
      ((setq answer (cmd-hvac-matchKeyword typed keywords)) (setq done T))
      (T (princ "\nInvalid option keyword."))))
  answer)

;; Text typed at PROMPT; nil for Esc, DEFAULT for Enter.
(defun cmd-hvac-text (prompt default / typed)
  (setq typed (vl-catch-all-apply 'getstring (list T prompt)))
  (cond ((not (eq (type typed) 'STR)) nil)
        ((= (vl-string-trim " " typed) "") default)
        (T (vl-string-trim " " typed))))

;; A number typed at PROMPT; DEFAULT for Enter, nil for Esc; asks again for what is no number.
(defun cmd-hvac-number (prompt default / typed value done)
  (while (not done)
    (setq typed (cmd-hvac-text prompt ""))
    (cond ((null typed) (setq done T value nil))
          ((= typed "") (setq done T value default))
          ((setq value (distof typed 2)) (setq done T))
          (T (princ "\nRequires a number."))))
  value)

;;; ---- project ----

;; Joins the current drawing to the project FILE: writes the marker, lists its rooms, and leaves
;; the same work for the other open drawings of the folder until they are next active.
(defun project-hvac-join (file / here n)
  (setq here (todo-hvac-drawing))
  (if (not (marker-hvac-join)) (princ "\nCould not write the project marker into the drawing."))
  (setq n (todo-hvac-indexRooms))
  (foreach other (kvhost-documents)
    (if (and (/= other here) (= (strcat (vl-filename-directory other) "/") (getvar "DWGPREFIX")))
      (progn (todo-hvac-add other "join") (todo-hvac-add other "rooms"))))
  (princ (strcat "\n" (getvar "DWGNAME") " is in project " (vl-filename-base file)
                 (if (> n 0) (strcat "; " (itoa n) " room(s) listed") "") "."))
  file)

;; Command KV-PROJECT: starts a project in the drawing's folder or joins the one that is there.
(defun c:kv-project (/ file name)
  (cond
    ((= (getvar "DWGPREFIX") "")
     (princ "\nSave the drawing first: a project is the folder its drawings are in."))
    ((setq file (projectdb-currentFile))
     (if (marker-hvac-joined-p)
       (princ (strcat "\n" (getvar "DWGNAME") " is already in project " (vl-filename-base file) "."))
       (if (equal (cmd-hvac-keyword (strcat "\nJoin project " (vl-filename-base file) "? [Yes/No] <Yes>: ")
                                '("Yes" "No") "Yes")
              "Yes")
         (project-hvac-join file))))
    ((kvdb-candidates (getvar "DWGPREFIX") "kv_hvac")
     (princ "\nThe folder holds several project files; keep one and run KV-PROJECT again."))
    (T
     (setq name (projectdb-baseName (kvdb-newPath (getvar "DWGPREFIX") "kv_hvac")))
     (if (equal (cmd-hvac-keyword (strcat "\nNo project here. Create " name "? [Yes/No] <Yes>: ") '("Yes" "No") "Yes")
            "Yes")
       (project-hvac-join (projectdb-createProject (getvar "DWGPREFIX"))))))
  (princ))

;;; ---- rooms ----

;; Command KV-ROOMS: rooms one after another, each named when its label is placed; Enter at the
;; name takes "Room <index>", Esc while picking ends.
(defun c:kv-rooms (/ e n name)
  (setq n 0)
  (while (and (setq name (cmd-hvac-text (strcat "\nName of the next room <Room " (itoa (room-hvac-nextIndex)) ">: ")
                                        (strcat "Room " (itoa (room-hvac-nextIndex)))))
              (setq e (room-hvac-draw name)))
    (setq n (1+ n)))
  (princ (strcat "\n" (itoa n) " room(s) drawn."))
  (princ))

;; The distance from P to the segment A B, all 2D.
(defun cmd-hvac-segmentDistance (p a b / d len2 u)
  (setq d (mapcar '- (list (car b) (cadr b)) (list (car a) (cadr a)))
        len2 (+ (* (car d) (car d)) (* (cadr d) (cadr d))))
  (if (zerop len2)
    (distance (list (car p) (cadr p)) (list (car a) (cadr a)))
    (progn
      (setq u (/ (+ (* (- (car p) (car a)) (car d)) (* (- (cadr p) (cadr a)) (cadr d))) len2)
            u (max 0.0 (min 1.0 u)))
      (distance (list (car p) (cadr p)) (list (+ (car a) (* u (car d))) (+ (cadr a) (* u (cadr d))))))))

;; The index of the outline segment nearest P: segment i runs from point i to point i + 1, the
;; last one back to the first.
(defun room-hvac-nearestSegment (points p / best bestD i d n)
  (setq n (length points) i 0)
  (while (< i n)
    (setq d (cmd-hvac-segmentDistance p (nth i points) (nth (rem (1+ i) n) points)))
    (if (or (null bestD) (< d bestD)) (setq best i bestD d))
    (setq i (1+ i)))
  best)

;; The index of the outline point nearest P.
(defun room-hvac-nearestPoint (points p / best bestD i d)
  (setq i 0)
  (foreach q points
    (setq d (distance (list (car p) (cadr p)) q))
    (if (or (null bestD) (< d bestD)) (setq best i bestD d))
    (setq i (1+ i)))
  best)

;; Renames room IX everywhere it is named: its label, the project's list, both trees.
(defun room-hvac-rename (ix name / e)
  (if (setq e (room-hvac-entity ix)) (kv_hvac-room-updateLabel e name))
  (room-hvac-register ix name)
  (tree-hvac-relabelEverywhere (- ix) name))

;; One edit of room IX chosen by KEYWORD; a line saying what changed, or nil for nothing.
(defun room-hvac-editOnce (ix keyword / e points p q name)
  (setq e (room-hvac-entity ix) points (kv_hvac-room-getPoints e))
  (cond
    ((= keyword "Rename")
     (if (setq name (cmd-hvac-text "\nNew name: " nil))
       (progn (room-hvac-rename ix name) (strcat "renamed \"" name "\""))))
    ((= keyword "Add")
     (if (setq p (cmd-hvac-pick "\nNew outline point: "))
       (progn
         (kv_hvac-room-insertPoint e (1+ (room-hvac-nearestSegment points p)) p)
         "point added")))
    ((= keyword "Remove")
     (cond ((<= (length points) 3) (princ "\nA room keeps at least three points.") nil)
           ((setq p (cmd-hvac-pick "\nOutline point to remove: "))
            (kv_hvac-room-removePoint e (room-hvac-nearestPoint points p))
            "point removed")))
    ((= keyword "Leader")
     (if (and (setq p (cmd-hvac-pick "\nLeader arrow at: ")) (setq q (cmd-hvac-pick "\nLeader elbow at: ")))
       (progn (kv_hvac-room-setLeaderLocation e T p q) "leader moved")))
    ((= keyword "Toggle")
     (kv_hvac-room-toggleLeader e)
     (if (caddr (kv_hvac-room-getLeaderPoints e)) "leader shown" "leader hidden"))))

;; Edits room IX until Exit, Enter or Esc.
(defun room-hvac-editRoom (ix / keyword done said)
  (while (not done)
    (setq keyword (cmd-hvac-keyword "\nRoom [Rename/Add point/Remove point/Leader/Toggle leader/Exit] <Exit>: "
                                    '("Rename" "Add" "Remove" "Leader" "Toggle" "Exit") "Exit"))
    (if (or (null keyword) (= keyword "Exit"))
      (setq done T)
      (if (setq said (room-hvac-editOnce ix keyword))
        (princ (strcat "\nRoom " (itoa ix) ": " said ", "
                       (rtos (kv_hvac-room-getArea (room-hvac-entity ix)) 2 1) " square units.")))))
  ix)

;; Command KV-ROOMEDIT: edits the room picked.
(defun c:kv-roomEdit (/ p ix)
  (cond
    ((null (setq p (cmd-hvac-pick "\nPick a room: "))))
    ((null (setq ix (kv_hvac-room-find p))) (princ "\nNo room there."))
    (T (room-hvac-editRoom ix)))
  (princ))

;;; ---- ducts ----

;; Command KV-DUCT: a run of ducts picked point by point.
(defun c:kv-duct (/ made)
  (setq made (c:kv_hvac-drawDucts))
  (princ (if made (strcat "\n" (itoa (length made)) " duct(s) drawn.") "\nNo duct drawn."))
  (princ))

;; Command KV-FILLET: two picked ducts joined at their meeting point.
(defun c:kv-fillet ()
  (if (c:kv_hvac-filletDucts) (princ "\nDucts filleted."))
  (princ))

;; Command KV-BREAK: splits the duct picked at the point picked.
(defun c:kv-break (/ p e ix)
  (cond
    ((null (setq p (cmd-hvac-pick "\nBreak duct at: "))))
    ((null (setq e (duct-atPick p))) (princ "\nNo duct there."))
    ((or (null (setq ix (kvbreak e p))) (= ix 0)) (princ "\nNothing to break there: pick between the duct's ends."))
    (T (princ (strcat "\nDuct split; the new part is duct " (itoa (fix ix)) "."))))
  (princ))

;;; ---- diffusers ----
;; A diffuser is a row of the project's placed diffusers (tblDiffL) of a schedule type
;; (tblDiffS) chosen by its air, and a plan symbol on the layer "DIFFUSERS": a square panel with
;; its diagonals and its callout.

(setq diffuser-hvac-panel 24.0        ; square ceiling panel, inches
      diffuser-hvac-height 96.0       ; ceiling height of the diffusers, inches
      diffuser-hvac-maxCfm 400.0      ; air of one diffuser at most; a room needing more gets more
      ;; (neck inches, largest cfm): the usual neck of a square diffuser at a quiet face velocity
      diffuser-hvac-necks '((6 100.0) (8 200.0) (10 300.0) (12 450.0) (14 600.0)))

;; The air room IX needs, as (cfm . how-found): the load calculation's when it has one, else one
;; cfm per square foot of floor (the drawing in inches, or in millimetres for a metric project).
(defun diffuser-hvac-roomAir (ix / cfm e)
  (if (and (member (type loads-hvac-roomAir) '(SUBR USUBR))
           (setq cfm (loads-hvac-roomAir ix)))
    (cons (float cfm) "calculated")
    (if (setq e (room-hvac-entity ix))
      (cons (/ (kv_hvac-room-getArea e) (if *kv_hvac-solids-metric* 92903.04 144.0))
            "by floor area at 1 cfm/ft2, no load calculated"))))

;; The neck for CFM: the smallest that carries it.
(defun diffuser-hvac-neck (cfm / found)
  (foreach n diffuser-hvac-necks (if (and (null found) (<= cfm (cadr n))) (setq found (car n))))
  (if found found (car (last diffuser-hvac-necks))))

;; The schedule type of a square diffuser with NECK, made the first time it is needed.
(defun diffuser-hvac-type (file neck / callout found block)
  (setq callout (strcat "CD-" (itoa neck)))
  (cond
    ((setq found (car (kvdb-query file (strcat "SELECT ixDiffS FROM tblDiffS WHERE CALLOUT = '" callout "'"))))
     (fix found))
    (T
     (if (null (setq block (car (kvdb-query file "SELECT ixDwgDiff FROM tblDwgDiff WHERE sDescription = 'Square ceiling diffuser'"))))
       (progn
         (kvdb-execute file "INSERT INTO tblDwgDiff (iSortOrder, sDescription, iBlockNumber, iBlockType) VALUES (1, 'Square ceiling diffuser', 1, 0)")
         (setq block (car (kvdb-query file "SELECT max(ixDwgDiff) FROM tblDwgDiff")))))
     (if (null (car (kvdb-query file "SELECT ixDiffSGroup FROM tblDiffSGroup WHERE ixDiffSGroup = 1")))
       (kvdb-execute file "INSERT INTO tblDiffSGroup (ixDiffSGroup, sName, bShowUnused) VALUES (1, 'Supply', 0)"))
     (kvdb-execute file
       (strcat "INSERT INTO tblDiffS (ixDiffSGroup, CALLOUT, ixDwgDiff, WIDTH, LENGTH, NECK, NECK2, MIN_CFM, MAX_CFM,"
               " MIN_THROW, MAX_THROW, MAX_NOISE, PDROP, TILT, AIRFLOW, CONTYPE, MODEL, bShowInSchedule) VALUES (1, '"
               callout "', " (itoa (fix block)) ", " (rtos diffuser-hvac-panel 2 1) ", " (rtos diffuser-hvac-panel 2 1)
               ", " (itoa neck) ", 0, 0, " (rtos (cadr (assoc neck diffuser-hvac-necks)) 2 0)
               ", 4, 12, 25, 0.05, 0, 'sa', 'TOP', 'Square, 4-way', -1)"))
     (fix (car (kvdb-query file "SELECT max(ixDiffS) FROM tblDiffS"))))))

;; The middle of the bounding box of POINTS.
(defun diffuser-hvac-boxOf (points / lo hi)
  (setq lo (car points) hi (car points))
  (foreach p points
    (setq lo (list (min (car lo) (car p)) (min (cadr lo) (cadr p)))
          hi (list (max (car hi) (car p)) (max (cadr hi) (cadr p)))))
  (list lo hi))

;; N places spread evenly along the longer side of room IX's box.
(defun diffuser-hvac-places (ix n / box lo hi i out)
  (setq box (diffuser-hvac-boxOf (kv_hvac-room-getPoints (room-hvac-entity ix)))
        lo (car box) hi (cadr box) i 0)
  (repeat n
    (setq i (1+ i)
          out (cons (if (>= (- (car hi) (car lo)) (- (cadr hi) (cadr lo)))
                      (list (+ (car lo) (* (- (car hi) (car lo)) (/ (- i 0.5) n))) (/ (+ (cadr lo) (cadr hi)) 2.0))
                      (list (/ (+ (car lo) (car hi)) 2.0) (+ (cadr lo) (* (- (cadr hi) (cadr lo)) (/ (- i 0.5) n)))))
                    out)))
  (reverse out))

;; The plan symbol of a diffuser at P with CALLOUT and CFM.
(defun diffuser-hvac-symbol (p callout cfm / h x y)
  (kvhost-layer "DIFFUSERS" 4)
  (setq h (/ diffuser-hvac-panel 2.0) x (car p) y (cadr p))
  (foreach seg (list (list (- x h) (- y h) (+ x h) (- y h)) (list (+ x h) (- y h) (+ x h) (+ y h))
                     (list (+ x h) (+ y h) (- x h) (+ y h)) (list (- x h) (+ y h) (- x h) (- y h))
                     (list (- x h) (- y h) (+ x h) (+ y h)) (list (- x h) (+ y h) (+ x h) (- y h)))
    (entmake (list '(0 . "LINE") '(8 . "DIFFUSERS") (list 10 (car seg) (cadr seg) 0.0)
                   (list 11 (caddr seg) (cadddr seg) 0.0))))
  (entmake (list '(0 . "TEXT") '(8 . "DIFFUSERS") (list 10 (+ x h 3.0) (+ y h 3.0) 0.0) '(40 . 6.0)
                 (cons 1 (strcat callout " " (itoa (fix (+ cfm 0.5))) " cfm")))))

;; Places the diffusers of room IX: as many as its air needs at most DIFFUSER-HVAC-MAXCFM each,
;; each sized by its share. The list (count cfm-each callout how-found), nil without a project.
(defun diffuser-hvac-place (ix / file air n each neck schedule drawing)
  (if (and (setq file (projectdb-currentFile)) (setq air (diffuser-hvac-roomAir ix)))
    (progn
      (setq n (max 1 (fix (+ 0.999999 (/ (car air) diffuser-hvac-maxCfm))))
            each (/ (car air) n)
            neck (diffuser-hvac-neck each)
            schedule (diffuser-hvac-type file neck)
            drawing (getvar "DWGNAME"))
      (foreach p (diffuser-hvac-places ix n)
        (kvdb-execute file
          (strcat "INSERT INTO tblDiffL (ixDiffS, ixRoomL, ixLayerSystem, AIRFLOW, bDisplayCallout, bFlipCalloutArrow, CFM,"
                  " TILT, CONTYPE, X, Y, Z, ROTATION, DRAWING, bDeleted, iAlignmentPointNumber) VALUES ("
                  (itoa schedule) ", " (itoa ix) ", 0, 'sa', -1, 0, " (rtos each 2 2) ", 0, 'TOP', "
                  (rtos (car p) 2 4) ", " (rtos (cadr p) 2 4) ", " (rtos diffuser-hvac-height 2 4) ", 0, '"
                  (room-hvac-quote drawing) "', 0, 0)"))
        (diffuser-hvac-symbol p (strcat "CD-" (itoa neck)) each))
      (list n each (strcat "CD-" (itoa neck)) (cdr air)))))

;; The air of the diffusers placed in room IX.
(defun diffuser-hvac-roomTotal (ix / file)
  (if (setq file (projectdb-currentFile))
    (apply '+ (cons 0.0 (kvdb-query file (strcat "SELECT CFM FROM tblDiffL WHERE bDeleted = 0 AND ixRoomL = " (itoa ix)))))
    0.0))

;; Command KV-DIFFUSERS: diffusers for each room picked (Enter or Esc ends); a room that has its
;; diffusers already is left as it is.
(defun c:kv-diffusers (/ p ix placed)
  (cond
    ((null (projectdb-currentFile)) (princ "\nNo project: run KV-PROJECT first."))
    (T
     (while (setq p (cmd-hvac-pick "\nPick a room for diffusers <done>: "))
       (cond
         ((null (setq ix (kv_hvac-room-find p))) (princ "\nNo room there."))
         ((> (diffuser-hvac-roomTotal ix) 0)
          (princ (strcat "\nRoom " (itoa ix) " has its diffusers already.")))
         ((setq placed (diffuser-hvac-place ix))
          (princ (strcat "\nRoom " (itoa ix) ": " (itoa (car placed)) " x " (caddr placed) " at "
                         (rtos (cadr placed) 2 0) " cfm (" (cadddr placed) ").")))))))
  (princ))

;;; ---- model, dialogs, exports ----

;; Command KV-MODEL: the three-dimensional model of the drawing's ducts and diffusers.
(defun c:kv-model (/ built)
  (setq *solids-progress* T
        built (kv_hvac-solids-build nil 0 nil)
        *solids-progress* nil)
  (princ (strcat "\n" (itoa (length built)) " solids built."))
  (princ))

;; Command KV-EXPLORER: the Project Explorer; Find on a device shows where it is.
(defun c:kv-explorer (/ answer state)
  (cond
    ((null (projectdb-currentFile)) (princ "\nNo project: run KV-PROJECT first."))
    ((setq answer (kv_hvac-ProjectExplorer 0 1 (getvar "DWGNAME")))
     (setq state (cdr (assoc "state" answer)))
     (if (= state 101)
       (projectExplorer-query-HVAC (fix (cdr (assoc "ixL" answer))) (fix (cdr (assoc "devType" answer)))))))
  (princ))

;; Command KV-OPTIONS: the project's options, blocks looked for beside the drawing.
(defun c:kv-options ()
  (if (projectdb-currentFile)
    (kv_hvac-options (getvar "DWGPREFIX"))
    (princ "\nNo project: run KV-PROJECT first."))
  (princ))

;; Command KV-DIFFBLOCKS: the project's diffuser blocks.
(defun c:kv-diffBlocks ()
  (if (projectdb-currentFile) (kv_hvac-dwgDiff) (princ "\nNo project: run KV-PROJECT first."))
  (princ))

;; The bodies the last STEP export wrote, for a check of the file against the drawing.
(setq *export-hvac-bodies* 0)

;; Writes the current drawing as FORMAT ("PNG", "SVG", "DXF", "STEP" or "PDF") to PATH; T when
;; written. PDF is the plot in one page, through the print path of the plot.
(defun export-hvac-write (format path)
  (cond
    ((member format '("PNG" "SVG")) (kvhost-plot path (if (= format "PNG") 1600)))
    ((= format "DXF") (kvhost-export-dxf path))
    ((= format "STEP")
     (if (> (setq *export-hvac-bodies* (kv_hvac-solids-exportStep path *kv_hvac-solids-metric*)) 0)
       (progn (princ (strcat "\n" (itoa *export-hvac-bodies*) " bodies.")) T)
       (progn
         (vl-file-delete path)
         (princ "\nNo solids to write: build the model first (KV-MODEL).")
         nil)))
    ((= format "PDF") (kvhost-plot path))))

;; PATH as given when it names its folder, else beside the drawing.
(defun export-hvac-beside (path)
  (if (or (= (substr path 1 1) "/") (vl-string-search "/" path)) path (strcat (getvar "DWGPREFIX") path)))

;; Command KV-EXPORT: the drawing or its model to a file, by default beside the drawing.
(defun c:kv-export (/ format base path)
  (setq base (vl-filename-base (getvar "DWGNAME")))
  (if (setq format (cmd-hvac-keyword "\nExport [PNG/SVG/DXF/STEP/PDF] <PNG>: " '("PNG" "SVG" "DXF" "STEP" "PDF") "PNG"))
    (if (setq path (cmd-hvac-text (strcat "\nFile <" base "." (strcase format T) ">: ") (strcat base "." (strcase format T))))
      (progn
        (setq path (export-hvac-beside path))
        (if (export-hvac-write format path)
          (princ (strcat "\nWritten: " path))
          (princ (strcat "\nNothing written to " path "."))))))
  (princ))
